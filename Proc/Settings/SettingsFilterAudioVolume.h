#pragma once

#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

class TESSOR_API SettingsFilterAudioVolume final : public SettingsOf<SettingsFilterAudioVolume>
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterAudioVolume";
    static const std::vector<SettingsField<SettingsFilterAudioVolume>>& GetFields();

    double volume = 1.0;    ///< the gain, 1.0 for unity; a negative one inverts
    bool normalize = false; ///< lifts quiet material, up to fourfold, and holds its peaks below full scale
};

} // namespace Tessor::Proc
