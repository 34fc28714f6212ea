#pragma once

#include "Proc/Filters/Filters/Cutting/CutStream.h"

#include <atomic>
#include <deque>

namespace Tessor::Proc
{

/// The cut stream for decoded media: each item is cut by itself. Instances: video, audio, subtitle.
template <class IStreamThis>
class TESSOR_API FilterCutControllerStreamImpl final : public CutStream<IStreamThis>, public RefCountImpl
{
public:
    using typename CutStream<IStreamThis>::Item;

    /// FilterCutController::AddStream makes these.
    FilterCutControllerStreamImpl(const SP<IStreamThis>& source, const CutShare& share);
    ~FilterCutControllerStreamImpl() override { this->LeaveJumps(); }

private:
    using typename CutStream<IStreamThis>::Lock;
    using typename CutStream<IStreamThis>::Turn;

    // IStream
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    SP<typename IStreamThis::Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }

    // IStreamCutInterval
    bool IsRawStream() override { return false; }
    bool KeyframeSeek() override { return false; }

    // CutStream
    bool PassesUncut() override;
    void BeginRead() override { jumped = NoTime; }
    Turn TakeTurn() override;
    void BeginSeek() override {} // what is saved stays
    bool SaveOne(avTime start) override;

    SP<Item> TakeItem();

    std::deque<SP<Item>> savedData; // read by the helper, in order: read before anything else
    avTime jumped = NoTime; // end of the stretch that this read jumped: from a source that lands before it the rest is
                            // read through
    const uint64_t itemsIn = 0;        // the first place of the record, where nothing is counted
    std::atomic<uint64_t> itemsOut{0}; // delivered, but for those that pass straight through
};

} // namespace Tessor::Proc
