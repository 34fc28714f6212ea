#pragma once

#include "Fnd/RefCount.h"
#include "Proc/Settings/SettingsFilterBitStream.h"
#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/writing/MuxerSettings.h"
#include "media/items/IDataPacket.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Host
{

/// Writes a file: beside its place under a name of its own, flushed to disk and renamed when it is complete. What was
/// not finished is removed. Standard output ("-") is written as it comes, and takes containers that can be streamed.
/// Throws Core::IOException "FILE: cause".
///
/// Packets come in decoding order a track, times in microseconds. The muxer interleaves the tracks in time order (video
/// first on ties), keeps decoding times strictly rising and not after the presentation, and shifts all tracks by one
/// amount where the container knows no negative times. Packets come in the framing of the container: FramedTrack gives
/// them that.
class TESSOR_API Muxer
{
public:
    /// Without a format in the settings the name of the file tells the container. Throws for a container that can't be
    /// written.
    static std::unique_ptr<Muxer> Create(const std::string& path, const MuxerSettings& settings = {});
    virtual ~Muxer() = default;

    /// The file as messages name it.
    virtual std::string GetPath() const = 0;
    /// Whether the container can carry the track at all.
    virtual bool CanCarry(const TrackInfo& track) const = 0;
    /// The framing that packets of the track have to come in.
    virtual Proc::SettingsFilterBitStream::StreamFormat GetFraming(const TrackInfo& track) const = 0;

    /// Whether a packet may be a field of a picture, and headers have to lie among the packets.
    virtual bool IsByteStream() const = 0;

    /// A track like the source's, with the format that the packets really have. `format` may be null: the source's.
    /// Returns the number to write under. `sparse`: the interleaving does not wait for it.
    virtual int AddTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse) = 0;
    virtual void SetTags(const Tags& tags) = 0;
    virtual void SetChapters(const std::vector<ChapterInfo>& chapters) = 0;

    /// Creates the file and writes its header. All tracks must stand.
    virtual void Open() = 0;
    virtual void Write(int track, const SP<Proc::IDataPacket>& packet) = 0;
    /// Says that a track ends, so that the interleaving does not wait for it.
    virtual void EndTrack(int track) = 0;
    /// Drains, writes the trailer, flushes to disk and moves the file to its place. Throws OutputExistsException when
    /// there is something that is not to be overwritten.
    virtual void Finish() = 0;

    /// Times, as they came, of the track's packets that are decoded only, where the container shows them all the same.
    virtual std::vector<avTime> GetExposed(int track) const = 0;
    /// Names of tags, chapters and tracks that the container did not take, for a warning.
    virtual std::vector<std::string> GetLosses() const = 0;
};

} // namespace Tessor::Host
