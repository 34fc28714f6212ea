#include "Proc/Settings/SettingsResample.h"

#include "Proc/Settings/IPreset.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsResample>>& SettingsResample::GetFields()
{
    static const std::vector<SettingsField<SettingsResample>> fields =
        MakeResampleFields<SettingsResample>(IPreset::KEY_TYPE_ID);
    return fields;
}

} // namespace Tessor::Proc
