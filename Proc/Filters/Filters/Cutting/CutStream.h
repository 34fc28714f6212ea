#pragma once

#include "Proc/Filters/Filters/Cutting/CutShare.h"
#include "Proc/Filters/Filters/Cutting/SaveThread.h"
#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamSubtitle.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <functional>

namespace Tessor::Proc
{

/// The base of the cut streams. It reads turn by turn, takes part in the jumps of all streams of its file, and maps
/// times. A derived class says what a turn does, and calls LeaveJumps first in its destructor.
///
/// Threads: one thread reads and seeks. During a jump over a long deleted stretch a helper thread reads the source too,
/// and saves what lies before the stretch. Both hold `mutex` for a turn; what moves all sources is called without it,
/// for it waits for the helper, which needs it.
template <class IStreamThis>
class TESSOR_API CutStream : public virtual IStreamCutInterval, public PassThrough<IStreamThis>
{
public:
    using Item = typename IStreamThis::Item;

protected:
    using Lock = boost::unique_lock<boost::recursive_mutex>;

    CutStream(const SP<IStreamThis>& source, const CutShare& share, std::string name, FrameAllocType memory);
    /// Once the link is gone no jump of another stream starts the helper again; the one that may still run ends.
    void LeaveJumps();

    /// What came of a turn; nothing at all leads to the next one.
    struct Turn
    {
        SP<Item> item = nullptr;
        bool ended = false;                   ///< nothing follows
        std::function<void()> move = nullptr; ///< of all sources, before the next turn
    };

private:
    // IStream
    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return intervals->Source2Result(this->parentStream->GetDuration()); }

    // IStreamCutInterval
    avTime GetSourcePosition() override { return this->parentStream->GetPosition(); }
    void SavePacketsBeforeSeek(avTime start, avTime end) override;
    void WaitForSeek() override { saveThread.Wait(); }

    // StreamImpl
    SP<Item> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    // ---- all under `mutex`

    /// Without cuts the source passes, unless something read under cuts is still to come.
    virtual bool PassesUncut() = 0;
    /// A read begins: what holds for its turns alone is set.
    virtual void BeginRead() = 0;
    virtual Turn TakeTurn() = 0;
    /// A seek was requested.
    virtual void BeginSeek() = 0;
    /// The helper's turn: saves something; false when nothing before `start` can follow.
    virtual bool SaveOne(avTime start) = 0;

    void SavePacketsBeforeSeek_thread(avTime start);

    const SP<IRefCountable> controller; // alive as long as its streams

protected:
    const SP<CutIntervals> intervals;
    const SP<CutJumps> jumps;
    boost::recursive_mutex mutex; // guards reading of the source, and what a derived class keeps, against the helper
    bool eof = false;             // nothing can follow; until the next seek at the latest

private:
    SaveThread saveThread; // runs during a jump
};

extern template class CutStream<IStreamVideo>;
extern template class CutStream<IStreamAudio>;
extern template class CutStream<IStreamSubtitle>;
extern template class CutStream<IStreamRaw>;

} // namespace Tessor::Proc
