#pragma once

#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "effects/IOneInputEffect.h"

#include <vector>

namespace Tessor::Proc
{

/// A chain of effects over a video stream. The chain may be changed while another thread reads.
class TESSOR_API IFilterApplyEffectsVideo : public virtual IStreamVideo
{
public:
    inline static const std::string CLASS_ID = "IFilterApplyEffectsVideo";

    /// Appends the effect itself. Of a MultiEffect the members are made anew and appended in its place. Throws
    /// std::invalid_argument for null.
    virtual void AddEffect(SP<IOneInputEffectVideo> effect) = 0;
    /// Appends an effect of the class that the tree is named after.
    virtual void AddEffect(const Core::Property& settings, const std::string& implementation) = 0;
    /// Appends an effect that runs over the whole stream. Of SettingsMultiEffect all members are appended, always of
    /// the default implementation, with the range of a second from 0 on; EffectException when one of them has no
    /// implementation, or when some of them would run on the graphics side and some not.
    virtual void AddEffect(const Settings& settings, const std::string& implementation) = 0;
    /// The stabiliser of the chain, whatever the name; null when there is none.
    virtual SP<IOneInputEffectVideo> FindEffect(const std::string& name) = 0;
    virtual void ClearEffects() = 0;

    /// The trees of the effects out of the filter's own, in order. Throws FilterException for a tree of another name.
    static std::vector<Core::Property> FilterSettings2SettingsEffects(const Core::Property& settings);
    /// The filter's tree.
    static Core::Property SettingsEffects2FilterSettings(const std::vector<Core::Property>& effects);
};

} // namespace Tessor::Proc
