#include "Proc/Settings/SettingsDeinterlace.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsDeinterlace>>& SettingsDeinterlace::GetFields()
{
    static const std::vector<SettingsField<SettingsDeinterlace>> fields = {
        {"method", &SettingsDeinterlace::method, "how lines between fields are found",
         std::vector<std::string>{"bwdif", "yadif"}},
    };
    return fields;
}

} // namespace Tessor::Proc
