#pragma once

#include "Fnd/Time.h"
#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

class TESSOR_API SettingsFilterAudioFormatter final : public SettingsOf<SettingsFilterAudioFormatter>
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterAudioFormatter";
    static const std::vector<SettingsField<SettingsFilterAudioFormatter>>& GetFields();

    avTime packetDuration = 100 * MILLISECOND; ///< of a block, microseconds
};

} // namespace Tessor::Proc
