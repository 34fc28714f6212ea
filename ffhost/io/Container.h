#pragma once

#include "Fnd/Export.h"
#include "Proc/Settings/SettingsFilterBitStream.h"
#include "ffhost/io/MediaInfo.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <map>
#include <string_view>

namespace Tessor::Host
{

/// A container that files can be written in: libavformat's muxer, and what that one leaves to its caller.
class TESSOR_API Container
{
public:
    /// How a cover is written.
    enum class CoverForm
    {
        None,       ///< not at all: it would become a track of video
        Picture,    ///< libavformat writes what is marked as one
        Attachment, ///< a file inside of the file
    };

    enum class TagOwner
    {
        File,
        Track,
        Cover,
    };

    /// Which times must not be negative.
    enum class Origin
    {
        Free,         ///< edit lists: all may be
        Decoding,     ///< no decoding time
        Presentation, ///< no presentation time; there is no other
    };

    /// The container of that name, one of libavformat's that ListExtensions knows; without one, by the name of the
    /// file. Its GetFormat is null when there is none.
    static Container Choose(const std::string& path, const std::string& name);
    /// The same. Throws Core::IOException "FILE: cause" when there is none, or none that can be written there: standard
    /// output takes only what can be streamed.
    static Container Require(const std::string& path, const std::string& name);

    /// Of all containers: what names may end with, and the format that this stands for.
    static std::map<std::string, const AVOutputFormat*> ListExtensions();

    const AVOutputFormat* GetFormat() const { return format; }
    /// Written from its first byte to its last one, it is whole: nothing before has to be changed at the end.
    bool CanBeStreamed() const;
    /// Private and generic options of the muxer; the caller frees them.
    AVDictionary* MakeOptions(const AVFormatContext& context) const;
    Origin GetOrigin() const;
    /// The header names the codec's delay, and readers take it off all times.
    bool TellsDelay(AVCodecID codec) const;
    /// How far above zero the first decoding time must lie.
    avTime GetLead() const;
    /// Written by our own ProgramStream; the libavformat muxer is only asked what it takes.
    bool IsProgramStream() const;
    /// Packets are counted, not timed: a gap has to be filled with empty ones.
    bool CountsPackets() const;
    /// The length of a block, which readers put into a copied header, would be taken for that of every packet.
    bool TakesBlocksForConstant(AVCodecID codec) const;
    /// Sound has no times but those that its samples or packets make up.
    bool CountsSound() const;
    /// How packets of the codec are framed here. Writers of ADTS make it from raw frames themselves.
    Proc::SettingsFilterBitStream::StreamFormat ChooseFraming(AVCodecID codec) const;
    /// Whether the container names the codec in a way that readers understand.
    bool KnowsCodec(AVCodecID codec) const;
    /// The same of a cover, in the form of which readers know it again.
    CoverForm ChooseCoverForm(AVCodecID codec) const;
    /// The media type of an attached cover; empty for one that readers take for no picture.
    static std::string GetCoverType(AVCodecID codec);
    /// The source's tag where it means the same codec here, otherwise 0: the muxer's own choice. For HEVC that has no
    /// sample entry yet this is hev1 in MP4. hvc1 promises that no packet carries parameter sets (ISO/IEC 14496-15,
    /// 8.4.1), and whether other ones follow is known at the end of the stream only, when packets are long written: a
    /// reader that believes hvc1 would decode them wrongly, one that knows no hev1 refuses the file.
    unsigned ChooseTag(AVCodecID codec, unsigned sourceTag) const;
    /// The ticks to ask for, so that the source's times come out exactly. The muxer may choose others.
    AVRational ChooseTimeBase(const TrackInfo& source) const;
    /// The source's ticks a second where the container's video can count in them, otherwise 0: the muxer's own choice.
    int ChooseVideoTimescale(const TrackInfo& source) const;

    /// Whether packets of a track may share a decoding time. Pictures never do: where they are counted each has its
    /// own.
    bool TakesEqualTimes(MediaType type) const;
    /// Where the packets lie is told after them.
    bool EndsWithIndex() const { return IsMov(); }
    /// Several packets of sound go under the time of the first: those after a gap have to be kept apart.
    bool SharesTimes() const;
    /// Readers do not know a file of a few packets for what it is. (That with 192 bytes a packet holds larger ones.)
    bool NeedsLength() const { return family == Family::TransportStream && !bluRay; }
    /// Packets are parts of one stream of bytes, and not what is indexed, counted or timed: fields may stand alone, and
    /// headers lie among the packets.
    bool IsByteStream() const;
    /// Only the ends of groups of packets are timed.
    bool TellsEnds() const;
    /// Readers take the first packet of the codec for the beginning of time, and do not look back from the end that its
    /// group tells.
    /// Packets of FLAC alone, whose numbers are all that tells their times.
    bool IsPlainFlac() const { return Is({"flac"}); }
    bool BeginsAtZero(AVCodecID codec) const { return IsOgg() && codec == AV_CODEC_ID_FLAC; }
    /// At the end libavformat divides the length of a track by its packets, and makes none up.
    bool DividesLength() const { return Is({"caf"}); }
    /// Pictures are counted, and libavformat fills no gaps between them.
    bool CountsPictures() const;

    /// Packets that are decoded and not shown.
    bool CarriesEditLists() const;
    bool CarriesChapters() const;
    /// Which of its tracks players choose.
    bool CarriesDefaults() const { return IsMov() || IsMatroska() || Is({"nut"}); }
    bool CarriesRotation() const;
    bool CarriesTag(const std::string& key, TagOwner owner) const;
    /// What the language of a track is called there; empty where it can't be told.
    std::string NameLanguage(const std::string& code) const;

private:
    static Container Make(const AVOutputFormat* format);
    static Container Guess(const std::string& path);

    /// Muxers that write the same but for names and limits.
    enum class Family
    {
        Mov,
        Matroska,
        Ogg,
        ProgramStream,
        TransportStream,
        Avi,
        Asf,
        Other,
    };
    static const std::map<std::string_view, Family> FAMILIES; // by the muxer's name

    bool Is(std::initializer_list<const char*> names) const;
    bool IsMov() const { return family == Family::Mov; }
    bool IsMatroska() const { return family == Family::Matroska; }
    bool IsOgg() const { return family == Family::Ogg; }

    const AVOutputFormat* format = nullptr;
    Family family = Family::Other;
    bool bluRay = false; // 192-byte packets
};

} // namespace Tessor::Host
