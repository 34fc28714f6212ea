#include "Proc/Settings/SettingsFilterCutController.h"

#include "Proc/Settings/CutTimeline.h"

#include <limits>
#include <string>

namespace Tessor::Proc
{

using Interval = SettingsFilterCutController::Interval;

SettingsFilterCutController::SettingsFilterCutController() : intervals{{0, MAX_DURATION, NoTime, true}} {}

bool SettingsFilterCutController::IsEqualTo(const Settings& other) const
{
    return *this == dynamic_cast<const SettingsFilterCutController&>(other);
}

bool SettingsFilterCutController::operator==(const SettingsFilterCutController& other) const
{
    return intervals == other.intervals && streamIndex == other.streamIndex;
}

void SettingsFilterCutController::AddInterval(avTime start, avTime end, avTime shift, bool deleted)
{
    const Interval laid{start, end, shift, deleted};
    if (start == NoTime || start >= end)
        return;
    // an empty list has no ends that times beyond them could count to
    intervals = intervals.empty() ? std::deque{laid} : CutTimeline(intervals).With(laid).GetIntervals();
}

void SettingsFilterCutController::UpdateOptimizedList()
{
    intervals = CutTimeline(intervals).GetIntervals();
}

int32_t SettingsFilterCutController::GetIntervalIndex(avTime t) const
{
    return static_cast<int32_t>(CutTimeline(intervals).GetIndex(t));
}

Interval SettingsFilterCutController::GetOptInterval(size_t index) const
{
    return CutTimeline(intervals).GetInterval(index);
}

avTime SettingsFilterCutController::GetIntervalEndTime(avTime t) const
{
    return CutTimeline(intervals).GetIntervalEndTime(t);
}

bool SettingsFilterCutController::IsPointDeleted(avTime t) const
{
    return CutTimeline(intervals).IsPointDeleted(t);
}

avTime SettingsFilterCutController::Source2Result(avTime t) const
{
    return CutTimeline(intervals).Source2Result(t);
}

avTime SettingsFilterCutController::Result2Source(avTime t) const
{
    return CutTimeline(intervals).Result2Source(t);
}

SettingsFilterCutController Property2SettingsCutController(const Core::Property& property)
{
    using Keys = SettingsFilterCutController;
    if (property.GetName() != Keys::CLASS_ID)
        Throw<Core::PropertyException>(TESSOR_HERE, "Not a tree of cut settings: \"" + property.GetName() + "\"");
    SettingsFilterCutController settings;
    settings.intervals.clear();
    for (const Core::Property& interval : property[Keys::KEY_INTERVALS])
        settings.intervals.push_back({interval[Keys::KEY_START].GetInt64(), interval[Keys::KEY_END].GetInt64(),
                                      interval[Keys::KEY_SHIFT].GetInt64(), interval[Keys::KEY_DELETED].GetBool()});
    const long long index = property[Keys::KEY_STREAM_INDEX].GetInt64();
    if (index < std::numeric_limits<int32_t>::min() || index > std::numeric_limits<int32_t>::max())
        Throw<Core::PropertyException>(TESSOR_HERE, "Stream index out of range: " + std::to_string(index));
    settings.streamIndex = static_cast<int32_t>(index);
    return settings;
}

Core::Property SettingsCutController2Property(const SettingsFilterCutController& settings)
{
    using Keys = SettingsFilterCutController;
    Core::Property list(Keys::KEY_INTERVALS);
    for (const Interval& interval : settings.intervals)
    {
        Core::Property entry(Keys::KEY_INTERVAL);
        entry.CreateChildT<long long>(Keys::KEY_START, interval.start);
        entry.CreateChildT<long long>(Keys::KEY_END, interval.end);
        entry.CreateChildT<long long>(Keys::KEY_SHIFT, interval.shift);
        entry.CreateChildT<bool>(Keys::KEY_DELETED, interval.deleted);
        list.Add(std::move(entry));
    }
    Core::Property property(Keys::CLASS_ID);
    property.Add(std::move(list));
    property.CreateChildT<long long>(Keys::KEY_STREAM_INDEX, settings.streamIndex);
    return property;
}

} // namespace Tessor::Proc
