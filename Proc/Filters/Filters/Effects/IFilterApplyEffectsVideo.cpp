#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsVideo.h"

#include "Proc/Filters/Filters/Effects/EffectTrees.h"

namespace Tessor::Proc
{

std::vector<Core::Property> IFilterApplyEffectsVideo::FilterSettings2SettingsEffects(const Core::Property& settings)
{
    return SplitEffectsTree(settings, CLASS_ID);
}

Core::Property IFilterApplyEffectsVideo::SettingsEffects2FilterSettings(const std::vector<Core::Property>& effects)
{
    return JoinEffectsTree(effects, CLASS_ID);
}

} // namespace Tessor::Proc
