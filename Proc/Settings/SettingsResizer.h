#pragma once

#include "Proc/Settings/SettingsField.h"
#include "media/formats/FrameInfo.h"

namespace Tessor::Proc
{

/// Of a resizer: the size of its frames, and how pictures of another shape get into it.
class TESSOR_API SettingsResizer final : public SettingsOf<SettingsResizer>
{
public:
    enum class CustomModes
    {
        Fit,   ///< the whole picture, with black bars
        Fill,  ///< no bars: what does not fit is cropped, evenly
        Exact, ///< stretched to the size, whatever the shape
    };

    inline static const std::string CLASS_ID = "SettingsResizer";
    static const std::vector<SettingsField<SettingsResizer>>& GetFields();

    const std::string& GetImplName() const { return implName; }
    void SetCustomMode(CustomModes newMode, const Conf::FrameInfo& frame);

    CustomModes mode = CustomModes::Fit;
    // Pixels of the output; with both at 0 frames pass, with one of them it follows from the shape of the picture.
    int width = 0;
    int height = 0;
    Core::Property::Ratio aspect{1, 1}; ///< of an output pixel
    std::string implName;               ///< empty: the default one
};

} // namespace Tessor::Proc
