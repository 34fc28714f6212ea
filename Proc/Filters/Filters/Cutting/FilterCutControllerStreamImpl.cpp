#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamImpl.h"

#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/NotImplemented.h"

namespace Tessor::Proc
{

namespace
{

template <class IStreamThis>
constexpr const char* STREAM_TYPE = nullptr;
template <>
constexpr const char* STREAM_TYPE<IStreamVideo> = "Tessor::Proc::IStreamVideo";
template <>
constexpr const char* STREAM_TYPE<IStreamAudio> = "Tessor::Proc::IStreamAudio";
template <>
constexpr const char* STREAM_TYPE<IStreamSubtitle> = "Tessor::Proc::IStreamSubtitle";

using Lock = boost::lock_guard<boost::recursive_mutex>;

} // namespace

template <class IStreamThis>
FilterCutControllerStreamImpl<IStreamThis>::FilterCutControllerStreamImpl(const SP<IStreamThis>& source,
                                                                          const SP<FilterCutController>& controller)
    : PassThrough<IStreamThis>(source, "FilterCutControllerStreamImpl", FRAME_ALLOC_NONE), controller(controller)
{
}

template <class IStreamThis>
FilterCutControllerStreamImpl<IStreamThis>::~FilterCutControllerStreamImpl()
{
    // Once the link is gone no jump of another stream starts the helper again.
    controller->EraseStream(this->parentStream.get());
    saveThread.WaitForAll();
}

template <class IStreamThis>
void FilterCutControllerStreamImpl<IStreamThis>::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

template <class IStreamThis>
Core::Property FilterCutControllerStreamImpl<IStreamThis>::GetStatistic() const
{
    Core::Property statistic = this->parentStream->GetStatistic();
    const std::string tag =
        Core::StatisticsTag("FilterCutControllerStreamImpl", "IStreamThis", STREAM_TYPE<IStreamThis>);
    statistic.Add(Core::MakeStatistics(tag, static_cast<long long>(itemsIn), itemsOut));
    return statistic;
}

template <class IStreamThis>
void FilterCutControllerStreamImpl<IStreamThis>::ReleaseInternalData()
{
    {
        const Lock lock(mutex);
        std::deque<SP<Item>>().swap(savedData);
    }
    // Outside of the lock, for the base takes readMutex, under which a read takes the lock.
    PassThrough<IStreamThis>::ReleaseInternalData();
}

/// The oldest saved item, or the source's next one.
template <class IStreamThis>
auto FilterCutControllerStreamImpl<IStreamThis>::TakeItem() -> SP<Item>
{
    if (savedData.empty())
        return eof ? nullptr : this->parentStream->Read();
    const SP<Item> item = savedData.front();
    savedData.pop_front();
    return item;
}

template <class IStreamThis>
auto FilterCutControllerStreamImpl<IStreamThis>::ReadInternal() -> SP<Item>
{
    boost::unique_lock<boost::recursive_mutex> lock(mutex);
    // Saved items come first, also when the list has widened to one kept interval meanwhile.
    if (savedData.empty() && controller->CutsAreAbsent())
        return this->parentStream->Read();

    // A stretch is jumped once in a call: from a source that lands before its end the rest of it is read through.
    avTime jumped = NoTime;
    while (!this->IsTerminated())
    {
        const bool wasSaved = !savedData.empty();
        const uint64_t movesSeen = controller->GetMoveCount();
        const SP<Item> item = TakeItem();
        if (!item)
            return nullptr;
        const avTime pts = item->GetPTS();
        if (SP<Item> cut = controller->CutDataTemplate(item))
        {
            ++itemsOut;
            return cut;
        }
        // An item of kept time was dropped for its own sake, and tells nothing about what follows.
        if (!controller->IsPointDeleted(pts))
            continue;
        eof = controller->CheckPositionForEOF(pts);
        if (eof)
            return nullptr;
        const avTime stretchEnd = controller->GetIntervalEndTime(pts);
        if (wasSaved || stretchEnd == jumped)
            continue; // behind saved items the source stands further on already
        jumped = stretchEnd;
        lock.unlock(); // the jump waits for this stream's helper
        controller->SeekToNextPosition(pts, movesSeen);
        lock.lock();
    }
    return nullptr;
}

template <class IStreamThis>
void FilterCutControllerStreamImpl<IStreamThis>::RequestSeekInternal(avTime time, SP<IStream> requester)
{
    controller->DetectNewGOPS(); // before the mapping, for it moves starts of intervals
    eof = false;
    this->parentStream->RequestSeek(controller->Result2Source(time), requester);
}

template <class IStreamThis>
void FilterCutControllerStreamImpl<IStreamThis>::SavePacketsBeforeSeek(avTime start, avTime)
{
    saveThread.Start([this, start] { SavePacketsBeforeSeek_thread(start); }, [this] { controller->RefuseJump(); });
}

template <class IStreamThis>
void FilterCutControllerStreamImpl<IStreamThis>::SavePacketsBeforeSeek_thread(avTime start)
{
    while (!this->IsTerminated() && SaveOne(start))
    {
    }
}

/// Reads one item; false when nothing before `start` can follow.
template <class IStreamThis>
bool FilterCutControllerStreamImpl<IStreamThis>::SaveOne(avTime start)
{
    const Lock lock(mutex);
    if (this->parentStream->GetPosition() >= start)
        return false;
    const SP<Item> item = this->parentStream->Read();
    if (!item)
        return false;
    // An item without a time would be dropped anyway.
    if (item->GetPTS() != NoTime && item->GetPTS() < start)
        savedData.push_back(item);
    return true;
}

template class FilterCutControllerStreamImpl<IStreamVideo>;
template class FilterCutControllerStreamImpl<IStreamAudio>;
template class FilterCutControllerStreamImpl<IStreamSubtitle>;

} // namespace Tessor::Proc
