#include "ffhost/codecs/TrackEncoding.h"

#include "Fnd/Exception.h"
#include "ffhost/FormatTags.h"
#include "ffhost/codecs/AudioEncoder.h"
#include "ffhost/codecs/Encoder.h"
#include "ffhost/codecs/EncoderTable.h"
#include "ffhost/codecs/Inventory.h"
#include "ffhost/codecs/TrackVideoSetup.h"
#include "ffhost/io/Container.h"
#include "ffhost/io/StandardStreams.h"
#include "media/FFmpegCompat.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// Of the terms of a rate of frames, and the least ticks of a second.
constexpr int HIGHEST_RATE = 1000000, FINE_TICKS = 10000;

const char* UsualEncoder(const Container& container, MediaType type)
{
    const AVOutputFormat& format = *container.GetFormat();
    if (const ContainerRow* row = FindContainer(format.name))
        return type == MediaType::Video ? row->video : row->audio;
    const AVCodecID id = type == MediaType::Video ? format.video_codec : format.audio_codec;
    const AVCodec* codec = id != AV_CODEC_ID_NONE ? avcodec_find_encoder(id) : nullptr;
    return codec ? codec->name : nullptr;
}

AVMediaType ToAv(MediaType type)
{
    return type == MediaType::Video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
}

/// Always lossless, not just in one of its modes.
bool IsLossless(const AVCodec& codec)
{
    const AVCodecDescriptor* const description = avcodec_descriptor_get(codec.id);
    constexpr int either = AV_CODEC_PROP_LOSSLESS | AV_CODEC_PROP_LOSSY;
    return description && (description->props & either) == AV_CODEC_PROP_LOSSLESS;
}

/// A container of a single kind of track takes its own codec, and others only where libavformat is sure of them.
bool MayCarry(const Container& container, const AVCodec& codec)
{
    const AVOutputFormat& format = *container.GetFormat();
    const ContainerRow* row = FindContainer(format.name);
    const bool single = row && (!row->video || !row->audio);
    const bool own = codec.id == format.audio_codec || codec.id == format.video_codec;
    return container.KnowsCodec(codec.id) &&
           (!single || own || avformat_query_codec(&format, codec.id, FF_COMPLIANCE_NORMAL) > 0);
}

std::string ListEncoders(const Container& container, MediaType type)
{
    std::string names;
    void* at = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&at))
        if (codec->type == ToAv(type) && IsUsable(*codec) && MayCarry(container, *codec))
            names += (names.empty() ? "" : ", ") + std::string(codec->name);
    return names;
}

const AVCodec& GetEncoder(const std::string& name)
{
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    if (!codec)
        Throw<CodecFactoryException>(TESSOR_HERE, "The encoder " + name + " is missing");
    return *codec;
}

template <class T>
bool IsListed(const T* list, T end, T wanted)
{
    while (*list != end && *list != wanted)
        ++list;
    return *list == wanted;
}

/// The rate itself, or the next one above, which loses nothing; where there is none the highest.
int FitRate(const AVCodec& codec, int rate)
{
    // Containers count the delay of Opus at this rate (RFC 7845, 4.2), whatever the encoder takes.
    if (codec.id == AV_CODEC_ID_OPUS)
        return 48000;
    if (const int highest = FindEncoder(codec.name).highestRate)
        return std::min(rate, highest);
    const int* rates = FFmpeg::ListSampleRates(codec);
    if (!rates || IsListed(rates, 0, rate))
        return rate;
    int above = 0, highest = 0;
    for (const int* known = rates; *known; ++known)
    {
        if (*known > rate && (above == 0 || *known < above))
            above = *known;
        highest = std::max(highest, *known);
    }
    return above ? above : highest;
}

Conf::SampleFormats FitFormat(const AVCodec& codec, Conf::SampleFormats format)
{
    using Conf::SampleFormats;
    const AVSampleFormat* known = FFmpeg::ListSampleFormats(codec);
    if (!known)
        return format;
    // its own, also as planes, then float, which holds integers of 24 bits, then integers of 32
    const SampleFormats wanted[] = {format,
                                    Conf::SampleFormatDescription::Find(format).planarCounterpart,
                                    SampleFormats::FloatP,
                                    SampleFormats::Float,
                                    SampleFormats::S32P,
                                    SampleFormats::S32};
    for (const SampleFormats candidate : wanted)
        if (candidate != SampleFormats::None &&
            IsListed(known, AV_SAMPLE_FMT_NONE, static_cast<AVSampleFormat>(candidate)))
            return candidate;
    return static_cast<SampleFormats>(known[0]);
}

/// The layout itself, or the one with the most channels that are not more than it has.
Conf::ChannelLayout FitLayout(const AVCodec& codec, Conf::ChannelLayout layout)
{
    const AVChannelLayout* layouts = FFmpeg::ListChannelLayouts(codec);
    if (!layouts)
        return layout;
    Conf::ChannelLayout best = Conf::ChannelLayout::None;
    for (const AVChannelLayout* known = layouts; known->nb_channels; ++known)
    {
        const Conf::ChannelLayout candidate = Conf::FromFFChannelMask(known->u.mask, known->nb_channels);
        if (Conf::ToFFChannelMask(candidate) != known->u.mask)
            continue; // one of those that we have no number for
        if (candidate == layout)
            return layout;
        const int channels = Conf::GetChannelCount(candidate);
        if (channels <= Conf::GetChannelCount(layout) && channels > Conf::GetChannelCount(best))
            best = candidate;
    }
    // stereo where the sound has fewer channels than the encoder takes
    return best != Conf::ChannelLayout::None ? best : Conf::ChannelLayout::Stereo;
}

bool IsYuv(const AVPixFmtDescriptor& description)
{
    return description.nb_components >= 3 && !(description.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

/// Formats in main memory. Palettes are for sources that have one: nobody would choose to convert to them.
bool CanBeMade(AVPixelFormat format, PixFmt source)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description && !(description->flags & AV_PIX_FMT_FLAG_HWACCEL) &&
           (!(description->flags & AV_PIX_FMT_FLAG_PAL) || format == static_cast<AVPixelFormat>(source));
}

} // namespace

EncoderOptions ChooseEncoder(const std::string& path, const std::string& format, MediaType type,
                             const EncoderOptions& wanted)
{
    const Container container = Container::Require(path, format);
    const char* kind = type == MediaType::Video ? "pictures" : "sound";
    EncoderOptions options = wanted;
    const char* usual = UsualEncoder(container, type);
    if (options.name.empty() && usual)
        options.name = usual;
    const AVCodec* codec = avcodec_find_encoder_by_name(options.name.c_str());
    const auto refuse = [&](const std::string& why)
    {
        Throw<CodecFactoryException>(TESSOR_HERE, NameOutput(path) + ": " + why + "; encoders of " + kind +
                                                      " for this container: " + ListEncoders(container, type));
    };
    if (options.name.empty())
        refuse(std::string("the container has no usual encoder of ") + kind);
    if (!codec)
        refuse("there is no encoder \"" + options.name + "\"");
    if (codec->type != ToAv(type))
        refuse("\"" + options.name + "\" encodes no " + kind);
    if (!MayCarry(container, *codec))
        refuse("the container can't carry what \"" + options.name + "\" encodes");
    // Where packets are counted from the beginning of the file a run-in would delay the sound, or the pictures with it.
    options.runIn = !container.CountsPackets();
    options.header = (container.GetFormat()->flags & AVFMT_GLOBALHEADER) != 0;
    return options;
}

void CheckEncoder(const std::string& path, const std::string& format, MediaType type, const EncoderOptions& wanted)
{
    if (wanted.name.empty() && !HasPlaceFor(path, format, type))
        return;
    const EncoderOptions options = ChooseEncoder(path, format, type, wanted);
    if (type == MediaType::Video)
        TrackVideoSetup::Check(options);
}

bool HasPlaceFor(const std::string& path, const std::string& format, MediaType type)
{
    return UsualEncoder(Container::Require(path, format), type) != nullptr;
}

std::vector<PixFmt> ListPixelFormats(const std::string& encoder, PixFmt source)
{
    const AVPixelFormat* known = FFmpeg::ListPixelFormats(GetEncoder(encoder));
    if (!known)
        return {};
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source));
    std::vector<PixFmt> formats, transparent;
    for (const AVPixelFormat* at = known; *at != AV_PIX_FMT_NONE; ++at)
    {
        if (!CanBeMade(*at, source))
            continue;
        formats.push_back(static_cast<PixFmt>(*at));
        if (PixFmtDescription::Find(formats.back()).HasAlpha())
            transparent.push_back(formats.back());
    }
    if (!transparent.empty() && PixFmtDescription::Find(source).HasAlpha())
        return transparent;
    // Players take little but 4:2:0, so that what was not YUV becomes that, unless the encoder is always lossless.
    if (description && !IsYuv(*description) && !IsLossless(GetEncoder(encoder)) &&
        IsListed(known, AV_PIX_FMT_NONE, AV_PIX_FMT_YUV420P) &&
        !IsListed(known, AV_PIX_FMT_NONE, static_cast<AVPixelFormat>(source)))
        return {PixFmt::YUV420P};
    return formats;
}

Conf::FrameInfo FitSize(const std::string& encoder, PixFmt format, Conf::FrameInfo size)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if (!description || !FindEncoder(encoder).wholeChroma)
        return size;
    // rounded down: a column that was made up would be seen at the edge
    const int across = 1 << description->log2_chroma_w, down = 1 << description->log2_chroma_h;
    size.width = std::max(size.width / across * across, across);
    size.height = std::max(size.height / down * down, down);
    return size;
}

Conf::SampleInfo FitSampleInfo(const std::string& encoder, const Conf::SampleInfo& source)
{
    const AVCodec& codec = GetEncoder(encoder);
    return Conf::SampleInfo(FitFormat(codec, source.GetFormat().format), FitRate(codec, source.GetSampleRate()),
                            FitLayout(codec, source.GetChannelLayout()));
}

SP<TrackEncoder> CreateTrackEncoder(const SP<IStreamVideo>& source, const EncoderOptions& options)
{
    // The format is cloned from the source's, but for what is the new codec's. HEVC has a name of the library's.
    const AVCodecID id = GetEncoder(options.name).id;
    Core::Property changes("Format");
    changes.SetChildT<std::string>(Conf::IFormatCodec::TAG_CODEC_ID, id == AV_CODEC_ID_HEVC
                                                                         ? Conf::IFormatCodecVideo::CODEC_ID_H265
                                                                         : avcodec_get_name(id));
    changes.SetChildT<long long>(FormatTags::CODEC_ID, id);
    changes.SetChildT<std::string>(FormatTags::REFUSE_RECODE, ""); // that was about the source's header
    return Encoder::Create(source, std::make_unique<TrackVideoSetup>(source->GetFormatCodec(), options), changes);
}

SP<TrackEncoder> CreateTrackEncoder(const SP<IStreamAudio>& source, const EncoderOptions& options)
{
    return SP<TrackEncoder>(new AudioEncoder(source, options));
}

TrackInfo DescribeTrack(const TrackInfo& source, const TrackEncoder& encoder)
{
    TrackInfo track = source;
    track.parameters = encoder.GetParameters();
    track.codecName = avcodec_get_name(track.parameters->codec_id);
    track.format = encoder.GetFormatCodec();
    std::erase_if(track.tags, [](const auto& tag) { return tag.first == TRANSPARENCY_TAG; }); // the muxer's to tell
    if (track.type == MediaType::Audio)
    {
        track.timeBaseNum = 1;
        track.timeBaseDen = track.parameters->sample_rate;
        return track;
    }
    const Core::Property& tree = track.format->GetProperties();
    if (!tree.ChildExists(Conf::IFormatCodecVideo::TAG_FPS))
        return track;
    const Core::Property::Ratio rate = tree[Conf::IFormatCodecVideo::TAG_FPS].GetRatio();
    if (rate <= 0 || rate == Core::Property::Ratio(source.frameRateNum, source.frameRateDen))
        return track;
    av_reduce(&track.frameRateNum, &track.frameRateDen, rate.numerator(), rate.denominator(), HIGHEST_RATE);
    // Frames last whole ticks, and the ticks are fine enough for times between frames.
    track.timeBaseNum = 1;
    track.timeBaseDen = track.frameRateNum;
    while (track.timeBaseDen < FINE_TICKS)
        track.timeBaseDen *= 2;
    return track;
}

} // namespace Tessor::Host
