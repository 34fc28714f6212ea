#pragma once

#include "Fnd/RefCount.h"
#include "Proc/Settings/CutTimeline.h"
#include "Proc/Settings/SettingsFilterCutController.h"
#include "media/items/IDataPacket.h"

#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <vector>

namespace Tessor::Proc
{

/// What the streams of a file keep and delete: the one list that all share who cut it. It may widen while it is read,
/// and then another timeline is published; each lookup takes the newest. Who asks several things that belong together
/// takes the timeline itself, which never changes.
///
/// Thread-safe; nothing is called out to under the lock but what Hold protects.
class TESSOR_API CutIntervals final : public RefCountImpl
{
public:
    using Lock = boost::unique_lock<boost::recursive_mutex>;

    explicit CutIntervals(const CutTimeline& timeline, int32_t streamIndex = -1)
        : timeline(timeline), streamIndex(streamIndex)
    {
    }

    CutTimeline GetTimeline() const;
    SettingsFilterCutController GetSettings() const;
    avTime Source2Result(avTime t) const { return GetTimeline().Source2Result(t); }
    avTime Result2Source(avTime t) const { return GetTimeline().Result2Source(t); }
    avTime GetIntervalEndTime(avTime t) const { return GetTimeline().GetIntervalEndTime(t); }
    bool IsPointDeleted(avTime t) const { return GetTimeline().IsPointDeleted(t); }
    /// One interval, and it is kept.
    bool CutsAreAbsent() const { return GetTimeline().KeepsAll(); }
    /// The packet with its times in the result, null when it is deleted. Without any time the very packet.
    SP<IDataPacket> CutData(const SP<IDataPacket>& packet) const;
    /// The item with what is deleted trimmed off, null when nothing is left or it can't be trimmed.
    template <class T>
    SP<T> CutDataTemplate(const SP<T>& item) const;

    /// Replaces the list; GOP detection runs again.
    void Set(const CutTimeline& newTimeline, int32_t newStreamIndex = -1);
    /// Keeps [start, end) as well.
    void Keep(avTime start, avTime end);
    /// Keeps [start, end) as well, for a group that can't be cut, and makes GOP detection run again. Returns the length
    /// that the group now has in the result.
    avTime KeepWhole(avTime start, avTime end);

    // ---- starts of groups, to which starts of kept intervals are moved

    void AddGOPPoint(avTime t);
    bool IsGOPPoint(avTime t) const;
    bool AreGOPSDetected() const;
    void SetGOPSDetected();

    /// Nobody else looks up or changes anything meanwhile.
    Lock Hold() const { return Lock(mutex); }

private:
    mutable boost::recursive_mutex mutex; // guards all that follows; taken after a cut stream's own mutex
    CutTimeline timeline;                 // the list as it stands; replaced when it widens, for it never changes
    int32_t streamIndex;                  // carried along
    std::vector<avTime> gopPoints;        // known to be starts of groups, in order: no seek has to find out
    bool gopsDetected = false;            // false until GOP detection has run for the present list
};

} // namespace Tessor::Proc
