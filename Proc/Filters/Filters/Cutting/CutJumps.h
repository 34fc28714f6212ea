#pragma once

#include "Proc/Filters/Filters/Cutting/CutIntervals.h"
#include "Proc/StreamTemplates/IStreamCutInterval.h"

#include <atomic>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <functional>
#include <vector>

namespace Tessor::Proc
{

/// The streams of a file that are cut together, and the moves that all of their sources make as one: jumps over long
/// deleted stretches, and seeks that find out where groups of pictures start.
///
/// Threads: the cut streams may be read from different threads, if their sources stand a seek while they are read.
///
/// Locks, each taken before those below it:
///
///     seekMutex           one move at a time, the wait for all helpers included
///     a cut stream's own  by its reader or its helper, never while it asks for a move: that waits for the helper
///     CutIntervals        for single lookups; GOP detection alone holds it while it moves the sources
///     sourceMutex         exclusive for the move itself, shared for reads that belong together
///     the sources' own
///
/// GOP detection asks cut streams nothing for which they take their own lock, and who holds the sources in place asks
/// for no intervals: so the third and the fourth never wait for one another.
class TESSOR_API CutJumps final : public RefCountImpl
{
public:
    explicit CutJumps(const SP<CutIntervals>& intervals) : intervals(intervals) {}

    /// Links a source with its cut stream, which `make` creates once the source is accepted and which calls EraseStream
    /// before it goes. Throws FilterException for a stream that is here already, or whose duration is not that of the
    /// others.
    void AddStream(const SP<IStream>& source, const std::function<IStreamCutInterval*()>& make);
    void EraseStream(IStream* source);

    /// Jumps over the deleted interval at the position when it is at least 5 s long.
    void SeekToNextPosition(avTime position);
    /// The same, unless the sources have been moved since GetMoveCount gave that count: then what the caller has read
    /// comes from before it, and a second jump would bring back what others have read since.
    void SeekToNextPosition(avTime position, uint64_t movesSeen);
    /// How often the sources were moved together, failures included.
    uint64_t GetMoveCount() const { return moves; }
    /// No source is moved while somebody holds this: for reads that belong together. Nothing else may be called
    /// meanwhile but GetMoveCount.
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

private:
    struct StreamLink
    {
        SP<IStream> source;
        IStreamCutInterval* cut; // plain, for the cut stream holds this; it erases the link when it goes
    };
    using Lock = boost::lock_guard<boost::recursive_mutex>;

    void CheckNewStream(const IStream* stream) const;
    bool HasRawStream() const;
    avTime FindGOPStart() const;
    void SeekSources(avTime position);
    void SaveBeforeSeek(const CutInterval& stretch);
    bool AnyVoteForSeek() const;
    void MoveStarts(avTime duration);

    const SP<CutIntervals> intervals;
    std::vector<StreamLink> streams;      // written under seekMutex and the intervals' lock, read under either
    boost::recursive_mutex seekMutex;     // one seek of the sources at a time
    boost::shared_mutex sourceMutex;      // held to move the sources, shared to keep them where they are
    std::atomic<uint64_t> moves{0};       // of all sources together; written under sourceMutex
    std::atomic<bool> jumpRefused{false}; // by a helper, while a jump is prepared
};

} // namespace Tessor::Proc
