#include "Proc/Settings/SettingsEffectStabilizer.h"

namespace Tessor::Proc
{

const std::vector<SettingsField<SettingsEffectStabilizer>>& SettingsEffectStabilizer::GetFields()
{
    static const std::vector<SettingsField<SettingsEffectStabilizer>> fields = {
        {"horizontal", &SettingsEffectStabilizer::horizontal, "widest movement sideways, pixels", {0, 64}},
        {"vertical", &SettingsEffectStabilizer::vertical, "widest movement up and down, pixels", {0, 64}},
        {"edge", &SettingsEffectStabilizer::edge, "what fills the places that a movement bares",
         std::vector<std::string>{"blank", "original", "clamp", "mirror"}},
    };
    return fields;
}

} // namespace Tessor::Proc
