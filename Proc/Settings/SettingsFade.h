#pragma once

#include "Fnd/Time.h"
#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

/// Of a fade from or to black, or silence.
class TESSOR_API SettingsFade final : public SettingsOf<SettingsFade>
{
public:
    enum class Direction
    {
        In,
        Out,
    };

    inline static const std::string CLASS_ID = "SettingsFade";
    static const std::vector<SettingsField<SettingsFade>>& GetFields();

    Direction direction = Direction::In;
};

} // namespace Tessor::Proc
