#pragma once

#include "Proc/Filters/Filters/Effects/EffectChain.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsAudio.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <mutex>

namespace Tessor::Proc
{

/// Runs every block through a chain of effects. Effects see a null block where one before them has held the block
/// back; they are not told of seeks, and keep their data when the filter releases its own.
class TESSOR_API FilterApplyEffectsAudio final : public IFilterApplyEffectsAudio,
                                                 public PassThrough<IStreamAudio>,
                                                 public RefCountImpl
{
public:
    static SP<IFilterApplyEffectsAudio> Create(const SP<IStreamAudio>& parent,
                                               const SP<const IEffectFactory>& effectFactory);

private:
    FilterApplyEffectsAudio(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effectFactory);

    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override;

    void AddEffect(SP<IOneInputEffectAudio> effect) override;
    void AddEffect(const Core::Property& settings) override;
    void ClearEffects() override;

    void AcceptInternal(IStreamVisitor& visitor) override;
    SP<IDataAudio> ReadInternal() override;

    using Lock = std::lock_guard<std::recursive_mutex>;

    mutable std::recursive_mutex mutex; // guards all members below; never held while the parent is read or sought
    EffectChain<IOneInputEffectAudio> effects;
    // of the blocks delivered; microseconds in the effects
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
};

} // namespace Tessor::Proc
