#pragma once

#include "effects/IOneInputEffect.h"

#include <string>

namespace Tessor::Proc
{

/// An effect that brings frames to the size of SettingsResizer.
class TESSOR_API IResize : public virtual IOneInputEffectVideo
{
public:
    inline static const std::string CLASS_ID = "SettingsResizer"; ///< that of its settings
};

} // namespace Tessor::Proc
