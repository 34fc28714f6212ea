#include "Proc/Settings/SettingsFilterAudioFormatter.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsFilterAudioFormatter>>& SettingsFilterAudioFormatter::GetFields()
{
    static const std::vector<SettingsField<SettingsFilterAudioFormatter>> fields = {
        {"duration",
         &SettingsFilterAudioFormatter::packetDuration,
         "of a block, microseconds",
         {1, static_cast<double>(MAX_DURATION)}},
    };
    return fields;
}

} // namespace Tessor::Proc
