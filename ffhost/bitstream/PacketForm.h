#pragma once

#include "ffhost/io/MediaInfo.h"
#include "media/items/IDataPacket.h"

#include <vector>

namespace Tessor::Host
{

/// What a packet carries, told by its bytes, and when.
struct PacketPrint
{
    uint64_t hash = 0;
    avTime time = NoTime; ///< NoTime: it stands for the whole file
    avTime length = 0;
};

/// The packets of a track in a form that does not depend on the container, so that those of two files can be held
/// against each other:
/// - AAC counts without ADTS headers,
/// - of H.264 and HEVC the slices count, without their lengths or start codes, and of two fields each by itself,
/// - linear samples, which every container splits its own way, count in stretches that the samples themselves delimit,
/// - the empty packet that ends a timed text is left out, as are packets without bytes.
class TESSOR_API PacketForm
{
public:
    explicit PacketForm(const TrackInfo& track);

    /// Appends what `packet` carries to `prints`, as of `time`.
    void Add(const Proc::IDataPacket& packet, avTime time, std::vector<PacketPrint>& prints);
    /// Appends what is left when the track has ended.
    void Finish(std::vector<PacketPrint>& prints);

    /// Whether the packets of the track are linear samples: where they are split depends on where reading begins.
    bool IsLinear() const { return sampleSize > 0 && sampleRate > 0; }
    /// Bytes of a linear sample of all channels; 0 for other packets.
    size_t GetSampleSize() const { return sampleSize; }
    /// Whether the container counts samples or packets of the track, and a writer leaves some out or puts some in,
    /// so that the sound keeps its place.
    static bool IsCounted(const TrackInfo& track);
    /// Whether readers know when the first packet of the track ends, and not when it begins.
    static bool BeginsUntold(const MediaInfo& file, const TrackInfo& track);
    /// Whether a file tells when packets are due. Otherwise they follow each other.
    static bool TellsTimes(const MediaInfo& file);

private:
    using Bytes = std::pair<const uint8_t*, size_t>;

    using Picture = std::vector<Bytes>;

    std::vector<Picture> FindContent(const Proc::IDataPacket& packet) const;
    std::vector<Picture> FindSlices(const Proc::IDataPacket& packet) const;
    void AddSamples(const Proc::IDataPacket& packet, avTime time, std::vector<PacketPrint>& prints);
    avTime LengthOf(size_t samples) const;

    const int codec;
    const size_t sampleSize; // bytes of a linear sample of all channels; 0: sound and pictures that are coded
    const int sampleRate;
    size_t lengthSize = 0;      // of the units of H.264 and HEVC; 0: start codes
    PacketPrint stretch;        // of linear samples, while `stretchLength` is not 0
    size_t stretchLength = 0;   // samples
    uint64_t recentSamples = 0; // a hash of the last 64
};

} // namespace Tessor::Host
