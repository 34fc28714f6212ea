#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamImpl.h"

#include "Fnd/Statistics.h"

namespace Tessor::Proc
{

namespace
{

/// The stream as its record in the statistics names it.
template <class IStreamThis>
constexpr const char* STREAM_TYPE = nullptr;
template <>
constexpr const char* STREAM_TYPE<IStreamVideo> = "Tessor::Proc::IStreamVideo";
template <>
constexpr const char* STREAM_TYPE<IStreamAudio> = "Tessor::Proc::IStreamAudio";
template <>
constexpr const char* STREAM_TYPE<IStreamSubtitle> = "Tessor::Proc::IStreamSubtitle";

} // namespace

template <class IStreamThis>
FilterCutControllerStreamImpl<IStreamThis>::FilterCutControllerStreamImpl(const SP<IStreamThis>& source,
                                                                          const CutShare& share)
    : CutStream<IStreamThis>(source, share, "FilterCutControllerStreamImpl", FRAME_ALLOC_NONE)
{
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
        const Lock lock(this->mutex);
        std::deque<SP<Item>>().swap(savedData);
    }
    // Outside of the lock, for the base takes readMutex, under which a read takes the lock.
    CutStream<IStreamThis>::ReleaseInternalData();
}

/// The oldest saved item, or the source's next one.
template <class IStreamThis>
auto FilterCutControllerStreamImpl<IStreamThis>::TakeItem() -> SP<Item>
{
    if (savedData.empty())
        return this->eof ? nullptr : this->parentStream->Read();
    const SP<Item> item = savedData.front();
    savedData.pop_front();
    return item;
}

/// Saved items come first, also when the list has widened to one kept interval meanwhile.
template <class IStreamThis>
bool FilterCutControllerStreamImpl<IStreamThis>::PassesUncut()
{
    return savedData.empty() && this->intervals->CutsAreAbsent();
}

template <class IStreamThis>
auto FilterCutControllerStreamImpl<IStreamThis>::TakeTurn() -> Turn
{
    const bool wasSaved = !savedData.empty();
    const uint64_t movesSeen = this->jumps->GetMoveCount();
    const SP<Item> item = TakeItem();
    if (!item)
        return {.ended = true};
    const avTime pts = item->GetPTS();
    if (const SP<Item> cut = this->intervals->CutDataTemplate(item))
    {
        ++itemsOut;
        return {.item = cut};
    }
    // An item of kept time was dropped for its own sake, and tells nothing about what follows.
    if (!this->intervals->IsPointDeleted(pts))
        return {};
    this->eof = this->jumps->CheckPositionForEOF(pts);
    if (this->eof)
        return {.ended = true};
    const avTime stretchEnd = this->intervals->GetIntervalEndTime(pts);
    if (wasSaved || stretchEnd == jumped)
        return {}; // after saved items the source stands further on already
    jumped = stretchEnd;
    return {.move = [this, pts, movesSeen] { this->jumps->SeekToNextPosition(pts, movesSeen); }};
}

/// Reads one item; false when nothing before `start` can follow.
template <class IStreamThis>
bool FilterCutControllerStreamImpl<IStreamThis>::SaveOne(avTime start)
{
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
