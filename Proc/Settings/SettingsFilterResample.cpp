#include "Proc/Settings/SettingsFilterResample.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsFilterResample>>& SettingsFilterResample::GetFields()
{
    static const std::vector<SettingsField<SettingsFilterResample>> fields =
        MakeResampleFields<SettingsFilterResample>("impl");
    return fields;
}

} // namespace Tessor::Proc
