#pragma once

#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "Proc/Filters/Filters/Cutting/SaveThread.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <atomic>
#include <deque>

namespace Tessor::Proc
{

/// The cut stream for decoded media: each item is cut by itself. Instances: video, audio, subtitle.
///
/// Threads: one thread reads and seeks; during a jump over a long deleted stretch a helper thread reads the source too,
/// and saves what lies before the stretch.
template <class IStreamThis>
class TESSOR_API FilterCutControllerStreamImpl final : public virtual IStreamCutInterval,
                                                       public PassThrough<IStreamThis>,
                                                       public RefCountImpl
{
public:
    using Item = typename IStreamThis::Item;

    /// FilterCutController::AddStream makes these.
    FilterCutControllerStreamImpl(const SP<IStreamThis>& source, const SP<FilterCutController>& controller);
    ~FilterCutControllerStreamImpl() override;

private:
    // IStream
    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return controller->Source2Result(this->parentStream->GetDuration()); }
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    SP<typename IStreamThis::Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }

    // IStreamCutInterval
    avTime GetSourcePosition() override { return this->parentStream->GetPosition(); }
    void SavePacketsBeforeSeek(avTime start, avTime end) override;
    void WaitForSeek() override { saveThread.Wait(); }
    bool IsRawStream() override { return false; }
    bool KeyframeSeek() override { return false; }

    // StreamImpl
    SP<Item> ReadInternal() override;
    void RequestSeekInternal(avTime time, SP<IStream> requester) override;

    SP<Item> TakeItem();
    void SavePacketsBeforeSeek_thread(avTime start);
    bool SaveOne(avTime start);

    const SP<FilterCutController> controller;
    bool eof = false;                  // nothing can follow; until the next seek
    boost::recursive_mutex mutex;      // guards reading of the source and savedData
    SaveThread saveThread;             // runs during a jump
    std::deque<SP<Item>> savedData;    // read by the helper, in order: read before anything else
    const uint64_t itemsIn = 0;        // the first place of the record, where nothing is counted
    std::atomic<uint64_t> itemsOut{0}; // delivered, but for those that pass straight through
};

} // namespace Tessor::Proc
