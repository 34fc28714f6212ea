#pragma once

#include "Proc/CodecParsers/IPTSRestorer.h"

#include <deque>

namespace Tessor::Proc::CodecParsers
{

/// Restores presentation times of MPEG-1/2 video in which only some pictures have one. A picture without a time is a
/// reference that is shown when the next reference is decoded:
///
///     decoding order   I(no PTS)  B  B  P(DTS d)
///     becomes          I(PTS d)   B  B  P
///
/// Packets leave in the order they came. Not thread-safe.
class TESSOR_API MPEG1_2PTSRestorer final : public IPTSRestorer
{
public:
    void Push(const SP<const IDataPacket>& packet) override;
    std::pair<SP<const IDataPacket>, ExternalTS> Pull() override;
    void Reset() override;

private:
    using Entry = std::pair<SP<const IDataPacket>, ExternalTS>;

    void Finish(avTime oldestPts);

    std::deque<Entry> pending;  // a reference without PTS and the B pictures behind it, until its PTS is known
    std::deque<Entry> finished; // what Pull hands out, oldest first
};

} // namespace Tessor::Proc::CodecParsers
