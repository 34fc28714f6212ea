#pragma once

#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

/// Of the stabiliser, which takes small movements of the camera out of the picture.
class TESSOR_API SettingsEffectStabilizer final : public SettingsOf<SettingsEffectStabilizer>
{
public:
    enum class Edge
    {
        Blank,
        Original,
        Clamp,
        Mirror,
    };

    inline static const std::string CLASS_ID = "SettingsEffectStabilizer";
    static const std::vector<SettingsField<SettingsEffectStabilizer>>& GetFields();

    int horizontal = 16;
    int vertical = 16;
    Edge edge = Edge::Mirror;
};

} // namespace Tessor::Proc
