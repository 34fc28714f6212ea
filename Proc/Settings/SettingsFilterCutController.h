#pragma once

#include "Fnd/Property/Property.h"
#include "Proc/Settings/CutInterval.h"
#include "Proc/Settings/Settings.h"

#include <cstdint>
#include <deque>

namespace Tessor::Proc
{

/// The intervals of source time that a cut keeps and deletes. Intervals are half-open. After UpdateOptimizedList they
/// are in order, do not overlap, and neighbours differ in state:
///
///     source   |--kept--|///deleted///|--kept--|
///     result   |--kept--|--kept--|
///
/// Times before or after the list count to its first or last interval; times of a kept first interval stay as they are,
/// and after a deleted first one the result starts at 0. Gaps of a list count as kept, as does everything when the
/// list is empty.
///
/// The lookups answer for the optimised list, whether or not the list has been brought into that form yet. They are
/// those of CutTimeline, for a single question: each call compiles the list, and who asks again holds a timeline.
class TESSOR_API SettingsFilterCutController final : public Settings
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterCutController";

    /// The tree: a node of interval nodes with four values each, and the stream index.
    inline static const std::string KEY_INTERVALS = "intervals";
    inline static const std::string KEY_INTERVAL = "interval";
    inline static const std::string KEY_START = "start";
    inline static const std::string KEY_END = "end";
    inline static const std::string KEY_SHIFT = "shift";
    inline static const std::string KEY_DELETED = "deleted";
    inline static const std::string KEY_STREAM_INDEX = "streamIndex";

    using Interval = CutInterval;

    /// One deleted interval from 0 to 30 days: callers add what stays.
    SettingsFilterCutController();

    const std::string& GetClassId() const override { return CLASS_ID; }
    SettingsFilterCutController* Clone() const override { return new SettingsFilterCutController(*this); }
    bool IsEqualTo(const Settings& other) const override;
    bool operator==(const SettingsFilterCutController& other) const;

    /// Lays an interval over the list, which is optimised then; it wins over what it covers. An empty interval changes
    /// nothing.
    void AddInterval(avTime start, avTime end, avTime shift, bool deleted);
    /// Brings the list in time order, with no overlap and like neighbours merged.
    void UpdateOptimizedList();

    /// Index of the interval that holds `t`.
    int32_t GetIntervalIndex(avTime t) const;
    /// Throws std::out_of_range.
    Interval GetOptInterval(size_t index) const;
    avTime GetIntervalEndTime(avTime t) const;
    bool IsPointDeleted(avTime t) const;
    /// The time left after removing all deleted time before `t`; NoTime for NoTime.
    avTime Source2Result(avTime t) const;
    /// The source time, in a kept interval, of a result time: at a seam the start of the next kept interval, at or past
    /// the end the end of the last one, the start of the list when nothing is kept; NoTime for NoTime.
    avTime Result2Source(avTime t) const;

    std::deque<Interval> intervals;
    int32_t streamIndex = -1; ///< carried along
};

/// The settings from a tree named CLASS_ID. Throws Core::PropertyException for a malformed one.
TESSOR_API SettingsFilterCutController Property2SettingsCutController(const Core::Property& property);

/// The tree that Property2SettingsCutController reads.
TESSOR_API Core::Property SettingsCutController2Property(const SettingsFilterCutController& settings);

} // namespace Tessor::Proc
