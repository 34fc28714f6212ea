#include "Proc/Settings/SettingsFilterBlurTransparentBorder.h"

namespace Tessor::Proc
{

auto SettingsFilterBlurTransparentBorder::GetFields()
    -> const std::vector<SettingsField<SettingsFilterBlurTransparentBorder>>&
{
    static const std::vector<SettingsField<SettingsFilterBlurTransparentBorder>> fields = {
        {"matrix", &SettingsFilterBlurTransparentBorder::matrixSize,
         "side of the square of pixels whose colours are averaged; below 2 nothing changes"},
    };
    return fields;
}

} // namespace Tessor::Proc
