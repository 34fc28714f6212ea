#include "Proc/Settings/SettingsFilterFrameRate.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsFilterFrameRate>>& SettingsFilterFrameRate::GetFields()
{
    static const std::vector<SettingsField<SettingsFilterFrameRate>> fields = {
        {"rate", &SettingsFilterFrameRate::frameRate, "frames per second; 0 for the rate of the input", {0, 1000}},
        {"impl", &SettingsFilterFrameRate::implName,
         "Default drops and doubles frames, Adjust moves their times only where they collide"},
    };
    return fields;
}

} // namespace Tessor::Proc
