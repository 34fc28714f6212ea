#pragma once

#include "Proc/Filters/Filters/Effects/EffectChain.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsVideo.h"
#include "Proc/Filters/Filters/Video/FrameAllocReconciler.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <mutex>

namespace Tessor::Proc
{

/// Runs every frame through a chain of effects, each in the frame memory that it works in. Effects see a null frame
/// where one before them has held the frame back; they are not told of seeks.
class TESSOR_API FilterApplyEffectsVideo final : public IFilterApplyEffectsVideo,
                                                 public PassThrough<IStreamVideo>,
                                                 public RefCountImpl
{
public:
    static SP<IFilterApplyEffectsVideo> Create(const SP<IStreamVideo>& parent,
                                               const SP<const IEffectFactory>& effectFactory);

private:
    FilterApplyEffectsVideo(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory);

    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    SP<Conf::IFormatCodecVideo> GetFormatCodec() const override;

    void AddEffect(SP<IOneInputEffectVideo> effect) override;
    void AddEffect(const Core::Property& settings, const std::string& implementation) override;
    void AddEffect(const Settings& settings, const std::string& implementation) override;
    SP<IOneInputEffectVideo> FindEffect(const std::string& name) override;
    void ClearEffects() override;

    void AcceptInternal(IStreamVisitor& visitor) override;
    SP<IDataVideo> ReadInternal() override;

    /// Has effects and converters report; what they answer is not kept.
    void SaveStat() const;

    using Lock = std::lock_guard<std::recursive_mutex>;

    mutable std::recursive_mutex mutex; // guards all members below; never held while the parent is read or sought
    EffectChain<IOneInputEffectVideo> effects;
    // of the frames delivered; microseconds in the effects
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
    FrameAllocReconciler reconciler;
};

} // namespace Tessor::Proc
