#pragma once

#include "Proc/Settings/ResampleOutput.h"

namespace Tessor::Proc
{

/// Of a resampling engine, named by the class of engines: what a filter hands to the one it has made.
class TESSOR_API SettingsResample final : public SettingsOf<SettingsResample>, public ResampleOutput
{
public:
    inline static const std::string CLASS_ID = "IResample";
    static const std::vector<SettingsField<SettingsResample>>& GetFields();
};

} // namespace Tessor::Proc
