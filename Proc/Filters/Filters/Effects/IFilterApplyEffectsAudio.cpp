#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsAudio.h"

#include "Proc/Filters/Filters/Effects/EffectTrees.h"

namespace Tessor::Proc
{

std::vector<Core::Property> IFilterApplyEffectsAudio::FilterSettings2SettingsEffects(const Core::Property& settings)
{
    return SplitEffectsTree(settings, CLASS_ID);
}

Core::Property IFilterApplyEffectsAudio::SettingsEffects2FilterSettings(const std::vector<Core::Property>& effects)
{
    return JoinEffectsTree(effects, CLASS_ID);
}

} // namespace Tessor::Proc
