#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"
#include "effects/IOneInputEffect.h"

#include <vector>

namespace Tessor::Proc
{

/// A chain of effects over an audio stream. The chain may be changed while another thread reads; who asks for the
/// format meanwhile, must not change it.
class TESSOR_API IFilterApplyEffectsAudio : public virtual IStreamAudio
{
public:
    inline static const std::string CLASS_ID = "IFilterApplyEffectsAudio";

    /// Appends the effect itself. Of a MultiEffect the members are made anew and appended in its place. Throws
    /// std::invalid_argument for null.
    virtual void AddEffect(SP<IOneInputEffectAudio> effect) = 0;
    /// Appends an effect of the class that the tree is named after, of the default implementation.
    virtual void AddEffect(const Core::Property& settings) = 0;
    virtual void ClearEffects() = 0;

    /// The trees of the effects out of the filter's own, in order. Throws FilterException for a tree of another name.
    static std::vector<Core::Property> FilterSettings2SettingsEffects(const Core::Property& settings);
    /// The filter's tree.
    static Core::Property SettingsEffects2FilterSettings(const std::vector<Core::Property>& effects);
};

} // namespace Tessor::Proc
