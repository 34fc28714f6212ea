#include "Proc/Settings/SettingsResizer.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsResizer>>& SettingsResizer::GetFields()
{
    static const std::vector<SettingsField<SettingsResizer>> fields = {
        {"mode", &SettingsResizer::mode, "how a picture of another shape gets into the size",
         std::vector<std::string>{"fit", "fill", "exact"}},
        {"width", &SettingsResizer::width, "pixels; 0 follows from the height", {0, 16384}},
        {"height", &SettingsResizer::height, "pixels; 0 follows from the width", {0, 16384}},
        {"aspect", &SettingsResizer::aspect, "of an output pixel", {0.001, 1000}},
        {"impl", &SettingsResizer::implName, "name of the implementation; empty for the default one"},
    };
    return fields;
}

void SettingsResizer::SetCustomMode(CustomModes newMode, const Conf::FrameInfo& frame)
{
    mode = newMode;
    width = frame.width;
    height = frame.height;
    aspect = {static_cast<long long>(frame.aspectNum), static_cast<long long>(frame.aspectDen)};
}

} // namespace Tessor::Proc
