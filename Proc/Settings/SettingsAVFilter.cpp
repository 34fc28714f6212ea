#include "Proc/Settings/SettingsAVFilter.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsAVFilter>>& SettingsAVFilter::GetFields()
{
    static const std::vector<SettingsField<SettingsAVFilter>> fields = {
        {"graph", &SettingsAVFilter::graph, "a chain of FFmpeg's filters with one input and one output"},
    };
    return fields;
}

} // namespace Tessor::Proc
