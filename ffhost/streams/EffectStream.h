#pragma once

#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "effects/IOneInputEffect.h"
#include "ffhost/effects/IFlow.h"

#include <string>
#include <utility>

namespace Tessor::Host
{

/// One effect over a whole stream. Unlike a chain of effects it lets the effect hold items back and make more of them
/// than it is given: it reads on until one comes out, takes all that there are before it gives the next, and at the end
/// it drains what is held. A seek empties the effect. Where that moves items in time, nobody knows how long all of them
/// last, and a seek starts at the beginning and leaves out what comes before the target.
template <class Kind, class Effect>
class EffectStream final : public Proc::PassThrough<Kind>, public RefCountImpl
{
public:
    using Base = Proc::PassThrough<Kind>;
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    /// The effect is complete with its settings, and belongs to the stream.
    static SP<Kind> Create(const SP<Kind>& parent, const SP<Effect>& effect)
    {
        return SP<Kind>(new EffectStream(parent, effect));
    }

private:
    EffectStream(const SP<Kind>& parent, const SP<Effect>& effect)
        : Base(parent, "EffectStream"), effect(effect), flow(dynamic_cast<IFlow<Item>*>(effect.get()))
    {
    }

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return effect->GetSettings(); }
    SP<Format> GetFormatCodec() const override
    {
        SP<Format> format = Base::parentStream->GetFormatCodec()->Clone();
        effect->UpdateFormat(format);
        return format;
    }
    Core::Property GetStatistic() const override
    {
        Core::Property statistic = Base::parentStream->GetStatistic();
        statistic.Add(Core::MakeStatistics("virtual Core::Property Tessor::Host::EffectStream::GetStatistic() const",
                                           effectTime, itemCount));
        return statistic;
    }
    avTime GetDuration() const override { return KeepsTimes() ? Base::GetDuration() : NoTime; }
    void ReleaseInternalData() override
    {
        Base::ReleaseInternalData();
        Reset();
    }

    void AcceptInternal(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "EffectStream", effect->GetFrameAllocType(), nullptr);
    }
    SP<Item> ReadInternal() override
    {
        SP<Item> item = ReadNext();
        while (item && seekTime != NoTime && AddTime(item->GetPTS(), item->GetDuration()) <= seekTime)
            item = ReadNext();
        seekTime = NoTime;
        itemCount += item ? 1 : 0;
        return item;
    }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        Reset();
        seekTime = KeepsTimes() || target <= 0 ? NoTime : target;
        Base::parentStream->RequestSeek(KeepsTimes() ? target : 0, partner);
    }

    bool KeepsTimes() const { return !flow || flow->KeepsTimes(); }

    SP<Item> ReadNext()
    {
        SP<Item> item = Take();
        while (!item && !ended)
        {
            SP<Item> given = Base::parentStream->Read();
            ended = !given;
            item = Make(std::move(given));
        }
        return item;
    }

    /// What the effect has made of the items before.
    SP<Item> Take()
    {
        const Core::TimerSimple timer(effectTime);
        SP<Item> item;
        if (flow)
            item = flow->Take();
        else if (ended)
            effect->Process(item);
        return item;
    }

    SP<Item> Make(SP<Item> item)
    {
        const Core::TimerSimple timer(effectTime);
        if (!flow)
        {
            effect->Process(item);
            return item;
        }
        flow->Give(item);
        item.reset(); // so that filters may work in its memory
        return flow->Take();
    }

    void Reset()
    {
        effect->ReleaseInternalData();
        ended = false;
    }

    const SP<Effect> effect;
    IFlow<Item>* const flow;     // the effect, where it is one
    avTime seekTime = NoTime;    // what ends before is left out; NoTime behind the first item
    bool ended = false;          // the parent has nothing more: the effect is drained
    unsigned long itemCount = 0; // statistics
    long long effectTime = 0;    // statistics, microseconds
};

} // namespace Tessor::Host
