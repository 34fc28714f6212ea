#pragma once

#include "Proc/Settings/SettingsAVFilter.h"
#include "Proc/StreamTemplates/IStreamAudioEx.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "ffhost/effects/FrameSpacer.h"
#include "ffhost/effects/GraphRunner.h"

namespace Tessor::Host
{

/// A filter that runs a chain of libavfilter over a whole stream, whatever the chain makes of it: it may change size,
/// rate and format, make more items than it is given, or fewer, and move them in time. An effect has one item for each,
/// so this is no effect. What the chain holds back comes as soon as it lets go of it, at the end at the latest. A
/// source that changes its format in mid-stream gets a new chain, and what the old one held is delivered before.
///
/// A seek empties the chain. Where that moves items in time, nobody knows how long all of them last, and a seek starts
/// at the beginning and leaves out what comes before the target.
template <class Kind, class KindEx>
class GraphStream final : public Proc::PassThrough<Kind, KindEx>, public RefCountImpl
{
public:
    using Base = Proc::PassThrough<Kind, KindEx>;
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    /// Takes SettingsAVFilter; others throw std::bad_cast. Throws EffectException for settings that are no chain.
    static SP<KindEx> Create(const SP<Kind>& parent, const Proc::Settings& settings);

private:
    GraphStream(const SP<Kind>& parent, const Proc::Settings& settings);

    void Initialize(const Core::Property& newSettings) override;
    void Initialize(const Proc::Settings& newSettings) override;
    Core::Property GetSettings() const override { return settings.ToProperty(); }
    Core::Property GetStatistic() const override;
    avTime GetDuration() const override { return runner.KeepsTimes() ? Base::GetDuration() : NoTime; }
    void ReleaseInternalData() override;
    /// Throws EffectException where the chain can't work on the parent's format.
    SP<Format> GetFormatCodec() const override;

    SP<Item> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override;

    SP<Item> ReadNext();
    void Give(SP<Item> item);
    /// What the chain has made of the items before; null where it wants another one first, and after the end.
    SP<Item> Take();
    SP<Item> PullItem();
    void Reset();

    Proc::SettingsAVFilter settings; // replaced by Initialize
    GraphRunner runner;
    FrameSpacer spacer;          // of frames that a chain moves
    avTime seekTime = NoTime;    // what ends before is left out; NoTime after the first item
    bool ended = false;          // the parent has nothing more: the chain is drained
    unsigned long itemCount = 0; // statistics
    long long chainTime = 0;     // statistics, microseconds
};

using GraphStreamVideo = GraphStream<Proc::IStreamVideo, Proc::IStreamVideoEx>;
using GraphStreamAudio = GraphStream<Proc::IStreamAudio, Proc::IStreamAudioEx>;

} // namespace Tessor::Host
