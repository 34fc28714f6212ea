#pragma once

#include "Proc/Filters/Filters/Cutting/DataSkipperStreamImpl.h"
#include "Proc/Filters/Filters/Cutting/RecodeSearch.h"
#include "Proc/Filters/Filters/Cutting/StreamRawGOP.h"

#include <stop_token>
#include <vector>

namespace Tessor::Proc
{

/// Cuts one group of pictures: decodes it, drops what is deleted and encodes the rest, so that it fits between the
/// untouched packets around it. Packets of streams that don't re-encode are cut one by one. Made on the thread that
/// reads the queue; all else may be done on another one.
class GOPRecoder
{
public:
    /// Takes the group out of the queue. A false `reencode` cuts packets by their times. `ability` outlives this.
    GOPRecoder(const SP<IStreamRaw>& source, PacketQueueWithGOP& queue, const CutTimeline& cut,
               const SP<ICodecFactory>& factory, const RecodeAbility& ability, bool reencode);

    /// The packets in decoding order with their times in the result; to be called once. Throws Exception "Count of
    /// original and encoded packts are not equal!" when the encoder did not make one packet of each frame. A stop ends
    /// it early, with a result of no use.
    std::vector<SP<IDataPacket>> Recode(const std::stop_token& stop);

private:
    using FrameSkipper = DataSkipperStreamImpl<IStreamVideo>;

    void CreateReader();
    void CreateEncoder();
    void SeekToStart();
    std::vector<SP<IDataPacket>> ReadPackets(const std::stop_token& stop);
    bool BringsOwnSets() const;
    SP<IDataPacket> FitPacket(const SP<IDataPacket>& packet) const;
    SP<IDataPacket> FitH264(const SP<IDataPacket>& packet) const;
    void SetTimes(const std::vector<SP<IDataPacket>>& packets) const;

    SP<StreamRawGOP> gop;             // until it is encoded
    const SP<CutIntervals> intervals; // as they stood when the group was read, wherever they widen to meanwhile
    const SP<ICodecFactory> factory;
    const bool reencode;
    const RecodeAbility& ability;
    const MediaType type;
    const std::string codec;
    const SP<const IBlob> header; // the source's, joined with the encoder's sets where these have been added
    const size_t lengthSize;      // of the source's units where it is H.264 in MP4 form, otherwise 0
    SP<FrameSkipper> skipper;     // between decoder and encoder; null when nothing is encoded
    SP<IStreamRaw> reader;        // the end of the chain: the encoder, or what cuts packets
    avTime keyOffset = 0;         // PTS - DTS of the encoder's first key frame
};

} // namespace Tessor::Proc
