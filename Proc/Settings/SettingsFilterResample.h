#pragma once

#include "Proc/Settings/ResampleOutput.h"

namespace Tessor::Proc
{

/// What a resampling filter delivers, and by which engine.
class TESSOR_API SettingsFilterResample final : public SettingsOf<SettingsFilterResample>, public ResampleOutput
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterResample";
    static const std::vector<SettingsField<SettingsFilterResample>>& GetFields();
};

} // namespace Tessor::Proc
