#pragma once

#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/IPTSRestorer.h"

#include <list>

namespace Tessor::Proc::CodecParsers
{

/// Rebuilds PTS from DTS and the order of slice types: a reference picture plays when the next one is decoded, the B
/// pictures between them at their own decoding times. Not thread-safe.
class TESSOR_API H264PTSRestorer final : public IPTSRestorer
{
public:
    H264PTSRestorer(bool isMp4, size_t lengthSize) : isMp4(isMp4), lengthSize(lengthSize) {}

    void Push(const SP<const IDataPacket>& packet) override;
    std::pair<SP<const IDataPacket>, ExternalTS> Pull() override;
    void Reset() override;

private:
    struct Entry
    {
        SP<const IDataPacket> packet;
        H264_Slice_Type sliceType;
        ExternalTS times;
    };

    avTime EstimateDTS() const;
    void FillPendingDTS(avTime groupEnd);
    void FinishPending(avTime groupEnd);

    const bool isMp4;
    const size_t lengthSize;   // bytes of the lengths in MP4 form
    std::list<Entry> pending;  // the open group: one packet of any type and the B pictures behind it
    std::list<Entry> finished; // with their final times, oldest first
};

} // namespace Tessor::Proc::CodecParsers
