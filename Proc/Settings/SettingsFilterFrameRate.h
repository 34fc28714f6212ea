#pragma once

#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

/// Of the filters that bring a video stream to a fixed frame rate.
class TESSOR_API SettingsFilterFrameRate final : public SettingsOf<SettingsFilterFrameRate>
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterFrameRate";
    /// Names the trees of FilterFrameRate, which hold the rate under TAG_FPS.
    inline static const std::string TREE_CLASS_ID = "IFilterFrameRate";
    /// Rebuilds the time axis: drops and doubles frames.
    inline static const std::string IMPL_DEFAULT = "Default";
    /// Keeps every frame and moves times only where two frames share a slot.
    inline static const std::string IMPL_ADJUST = "Adjust";
    /// The rate of the parent.
    inline static const Core::Property::Ratio MARK_USE_ORIGINAL_FRAMERATE{0, 1};

    static const std::vector<SettingsField<SettingsFilterFrameRate>>& GetFields();

    SettingsFilterFrameRate() = default;
    explicit SettingsFilterFrameRate(const Core::Property::Ratio& frameRate, const std::string& implName = IMPL_DEFAULT)
        : frameRate(frameRate), implName(implName)
    {
    }

    Core::Property::Ratio frameRate = MARK_USE_ORIGINAL_FRAMERATE; ///< frames per second
    std::string implName = IMPL_DEFAULT;
};

} // namespace Tessor::Proc
