#pragma once

#include "Proc/Settings/Settings.h"

#include <memory>
#include <vector>

namespace Tessor::Proc
{

/// Several effects as one: the settings of the members in order. Copies share them.
class TESSOR_API SettingsMultiEffect final : public Settings
{
public:
    inline static const std::string CLASS_ID = "SettingsMultiEffect";

    SettingsMultiEffect() = default;
    explicit SettingsMultiEffect(std::vector<std::shared_ptr<Settings>> effects) : effects(std::move(effects)) {}

    const std::string& GetClassId() const override { return CLASS_ID; }
    SettingsMultiEffect* Clone() const override { return new SettingsMultiEffect(*this); }
    bool IsEmpty() const override { return effects.empty(); }

    std::vector<std::shared_ptr<Settings>> effects;
};

} // namespace Tessor::Proc
