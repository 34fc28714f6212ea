#include "Proc/Settings/SettingsFilterAudioVolume.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsFilterAudioVolume>>& SettingsFilterAudioVolume::GetFields()
{
    static const std::vector<SettingsField<SettingsFilterAudioVolume>> fields = {
        {"gain", &SettingsFilterAudioVolume::volume, "factor of all samples, 1 for unity"},
        {"normalize", &SettingsFilterAudioVolume::normalize, "lifts quiet parts and holds peaks at full scale"},
    };
    return fields;
}

} // namespace Tessor::Proc
