#pragma once

#include "Proc/CodecParsers/IPTSRestorer.h"
#include "Proc/CodecParsers/ReferenceQueue.h"

namespace Tessor::Proc::CodecParsers
{

/// Restores presentation times of MPEG-1/2 video in which only some pictures have one, as ReferenceQueue does. Packets
/// leave in the order they came. Not thread-safe.
class TESSOR_API MPEG1_2PTSRestorer final : public IPTSRestorer
{
public:
    void Push(const SP<const IDataPacket>& packet) override;
    std::pair<SP<const IDataPacket>, ExternalTS> Pull() override;
    void Reset() override;

private:
    struct Entry : ExternalTS
    {
        SP<const IDataPacket> packet;
        avTime duration = 0;
    };

    ReferenceQueue<Entry> entries;
};

} // namespace Tessor::Proc::CodecParsers
