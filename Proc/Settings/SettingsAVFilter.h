#pragma once

#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

/// Of the effect that runs a chain of FFmpeg's own filters, of pictures or of sound.
class TESSOR_API SettingsAVFilter final : public SettingsOf<SettingsAVFilter>
{
public:
    inline static const std::string CLASS_ID = "SettingsAVFilter";
    static const std::vector<SettingsField<SettingsAVFilter>>& GetFields();

    SettingsAVFilter() = default;
    explicit SettingsAVFilter(const std::string& graph) : graph(graph) {}

    std::string graph; ///< in FFmpeg's grammar, with one input and one output
};

} // namespace Tessor::Proc
