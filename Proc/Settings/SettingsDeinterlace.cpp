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

SettingsDeinterlace Property2SettingsDeinterlace(const Core::Property& property)
{
    SettingsDeinterlace settings;
    settings.FromProperty(property);
    return settings;
}

Core::Property Settings2Property(const SettingsDeinterlace& settings)
{
    return settings.ToProperty();
}

} // namespace Tessor::Proc
