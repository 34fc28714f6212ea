#include "Proc/Settings/SettingsFade.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsFade>>& SettingsFade::GetFields()
{
    static const std::vector<SettingsField<SettingsFade>> fields = {
        {"direction", &SettingsFade::direction, "from nothing, or to nothing", std::vector<std::string>{"in", "out"}},
    };
    return fields;
}

} // namespace Tessor::Proc
