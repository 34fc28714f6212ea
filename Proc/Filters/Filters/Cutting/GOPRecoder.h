#pragma once

#include "Proc/Filters/Filters/Cutting/DataSkipperStreamImpl.h"
#include "Proc/Filters/Filters/Cutting/RecodeSearch.h"
#include "Proc/Filters/Filters/Cutting/StreamRawGOP.h"

#include <vector>

namespace Tessor::Proc
{

/// Cuts one group of pictures: decodes it, drops what is deleted and encodes the rest, so that it fits between the
/// untouched packets around it. Packets of streams that don't re-encode are cut one by one. Lives for one group, used
/// by one thread.
class GOPRecoder
{
public:
    /// Takes the group out of the queue. A false `reencode` cuts packets by their times.
    GOPRecoder(const SP<IStreamRaw>& source, PacketQueueWithGOP& queue, const SP<CutIntervals>& intervals,
               const SP<ICodecFactory>& factory, const RecodeAbility& ability, bool reencode);

    /// The packets in decoding order with their times in the result. Throws Exception "Count of original and encoded
    /// packts are not equal!" when the encoder did not make one packet of each frame.
    std::vector<SP<IDataPacket>> Recode();

private:
    using FrameSkipper = DataSkipperStreamImpl<IStreamVideo>;

    void CreateEncoder(const SP<ICodecFactory>& factory);
    void SeekToStart();
    std::vector<SP<IDataPacket>> ReadPackets();
    bool BringsOwnSets() const;
    SP<IDataPacket> FitPacket(const SP<IDataPacket>& packet) const;
    SP<IDataPacket> FitH264(const SP<IDataPacket>& packet) const;
    void SetTimes(const std::vector<SP<IDataPacket>>& packets) const;

    const SP<StreamRawGOP> gop;
    const SP<CutIntervals> intervals;
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
