#include "Proc/Filters/Filters/Video/IFilterResize.h"

namespace Tessor::Proc
{

SettingsResizer IFilterResize::Property2Settings(const Core::Property& property)
{
    SettingsResizer settings;
    settings.FromProperty(property);
    return settings;
}

Core::Property IFilterResize::Settings2Property(const SettingsResizer& settings)
{
    return settings.ToProperty();
}

} // namespace Tessor::Proc
