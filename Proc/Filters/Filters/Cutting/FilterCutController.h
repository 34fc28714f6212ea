#pragma once

#include "Proc/Settings/CutTimeline.h"
#include "Proc/Settings/SettingsFilterCutController.h"
#include "Proc/StreamTemplates/IStreamController.h"
#include "Proc/StreamTemplates/IStreamCutInterval.h"
#include "host/ICodecFactory.h"

#include <atomic>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <vector>

namespace Tessor::Proc
{

/// Removes time intervals from parallel streams. One controller serves all streams of a file: a compressed video
/// stream may only start on a key frame, and that moves the cut for all of them.
///
/// Threads: the cut streams may be read from different threads, if their sources stand a seek while they are read.
/// Locks: seekMutex before settingsMutex before sourceMutex; a cut stream releases its own mutex before it calls
/// SeekToNextPosition or DetectNewGOPS.
class TESSOR_API FilterCutController final : public IStreamController, public RefCountImpl
{
public:
    /// Throws FilterException "Wrong settings!" for settings of another class.
    static SP<FilterCutController> Create(const Settings& settings, SP<ICodecFactory> codecFactory);

    /// These replace the intervals; GOP detection runs again. Both throw std::invalid_argument for another class.
    void Initialize(const Core::Property& settings) override;
    void Initialize(const Settings& settings) override;
    /// Throws FilterException for a stream that is here already, or whose duration is not that of the others.
    SP<IStreamRaw> AddStream(const SP<IStreamRaw>& stream) override;
    SP<IStreamAudio> AddStream(const SP<IStreamAudio>& stream) override;
    SP<IStreamVideo> AddStream(const SP<IStreamVideo>& stream) override;
    SP<IStreamSubtitle> AddStream(const SP<IStreamSubtitle>& stream) override;

    /// The present intervals: they may have widened to key frames.
    SettingsFilterCutController GetCut() const;

    // ---- for the cut streams

    /// One interval, and it is kept.
    bool CutsAreAbsent() const;
    /// The packet with its times in the result, null when it is deleted. Without any time the very packet.
    SP<IDataPacket> CutData(const SP<IDataPacket>& packet) const;
    /// The item with what is deleted trimmed off, null when nothing is left or it can't be trimmed.
    template <class T>
    SP<T> CutDataTemplate(const SP<T>& item) const;
    avTime Source2Result(avTime t) const;
    avTime Result2Source(avTime t) const;
    /// How much of the stretch stays.
    avTime GetResultDuration(avTime start, avTime end) const;
    avTime GetIntervalEndTime(avTime t) const;
    bool IsPointDeleted(avTime t) const;
    /// Jumps over the deleted interval at the position when it is at least 5 s long.
    void SeekToNextPosition(avTime position);
    /// The same, unless the sources have been moved since GetMoveCount gave that count: then what the caller has read
    /// comes from before it, and a second jump would bring back what others have read since.
    void SeekToNextPosition(avTime position, uint64_t movesSeen);
    /// How often the sources were moved together, failures included.
    uint64_t GetMoveCount() const { return moves; }
    /// No source is moved while somebody holds this: for reads that belong together. Nothing else of the controller may
    /// be called meanwhile but GetMoveCount.
    boost::shared_lock<boost::shared_mutex> HoldSources()
    {
        return boost::shared_lock<boost::shared_mutex>(sourceMutex);
    }
    /// For a helper that could not save what lies before a stretch: the jump is left out, and nothing is lost.
    void RefuseJump() { jumpRefused = true; }
    /// Seeks all sources; true when a stream that starts on key frames only told where it landed, which then counts as
    /// kept from there on.
    bool SeekInputStreams(avTime position, bool seekAgain);
    /// True when nothing can follow the interval that holds the position.
    bool CheckPositionForEOF(avTime position) const;
    /// Moves starts of kept intervals back to key frames; works once for each list of intervals.
    void DetectNewGOPS();
    void AddGOPPoint(avTime t);
    void EraseStream(IStream* source);
    /// Keeps [start, end) as well, for a group that can't be cut, and makes GOP detection run again. Returns the length
    /// that the group now has in the result.
    avTime KeepWhole(avTime start, avTime end);

private:
    struct StreamLink
    {
        SP<IStream> source;
        IStreamCutInterval* cut; // plain, for the cut stream holds the controller; it erases the link when it goes
    };
    using Lock = boost::lock_guard<boost::recursive_mutex>;

    FilterCutController() = default;

    template <class Cut, class Stream, class... More>
    SP<Stream> Add(const SP<Stream>& stream, const More&... more);
    void CheckNewStream(const IStream* stream) const;
    template <class T>
    void RemoveDeleted(T& clone, avTime start, avTime end) const;
    void SetIntervals(const SettingsFilterCutController& newSettings);
    void KeepInterval(avTime start, avTime end);
    CutTimeline::Interval GetInterval(avTime t) const;
    bool JumpsFrom(avTime position) const;
    bool IsGOPPoint(avTime t) const;
    bool HasRawStream() const;
    avTime FindGOPStart() const;
    void SeekSources(avTime position);
    void SaveBeforeSeek(const CutTimeline::Interval& stretch);
    bool AnyVoteForSeek() const;

    std::vector<StreamLink> streams;              // written under both locks, read under either
    mutable boost::recursive_mutex settingsMutex; // guards settings, timeline, gopPoints and gopsDetected
    boost::recursive_mutex seekMutex;             // one seek of the sources at a time
    boost::shared_mutex sourceMutex;              // held to move the sources, shared to keep them where they are
    std::atomic<uint64_t> moves{0};               // of all sources together; written under sourceMutex
    std::atomic<bool> jumpRefused{false};         // by a helper, while a jump is prepared
    SettingsFilterCutController settings;         // its list is always optimised
    std::vector<avTime> gopPoints;                // known to be starts of groups: no seek has to find out
    SP<ICodecFactory> codecFactory;               // from Create; null when no compressed streams are cut
    bool gopsDetected = false;                    // false until DetectNewGOPS has run for the present intervals
    CutTimeline timeline{settings.intervals};     // the lookups of settings, renewed with it
};

} // namespace Tessor::Proc
