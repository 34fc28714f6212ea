#pragma once

#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "effects/IOneInputEffect.h"

#include <string>

namespace Tessor::Host
{

/// One effect over a whole stream. Unlike a chain of effects it lets the effect hold items back: it reads on until one
/// comes out, and at the end it drains what is held. A seek empties the effect.
template <class Kind, class Effect>
class EffectStream final : public Proc::StreamImpl<Kind, Kind>, public RefCountImpl
{
public:
    using Base = Proc::StreamImpl<Kind, Kind>;
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    /// The effect is complete with its settings, and belongs to the stream.
    static SP<Kind> Create(const SP<Kind>& parent, const SP<Effect>& effect)
    {
        return SP<Kind>(new EffectStream(parent, effect));
    }
    ~EffectStream() override { Base::StopThread(); }

private:
    EffectStream(const SP<Kind>& parent, const SP<Effect>& effect) : Base(parent, false), effect(effect) {}

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
        for (;;)
        {
            SP<Item> item = ended ? nullptr : Base::parentStream->Read();
            ended = !item;
            {
                const Core::TimerSimple timer(effectTime);
                effect->Process(item);
            }
            if (item)
                ++itemCount;
            if (item || ended)
                return item;
        }
    }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        Reset();
        Base::parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { Base::parentStream->DoSeek(); }

    void Reset()
    {
        effect->ReleaseInternalData();
        ended = false;
    }

    const SP<Effect> effect;
    bool ended = false;          // the parent has nothing more: the effect is drained
    unsigned long itemCount = 0; // statistics
    long long effectTime = 0;    // statistics, microseconds
};

} // namespace Tessor::Host
