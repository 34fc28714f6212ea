#pragma once

#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"

namespace Tessor::Proc
{

/// A video stream brought to a fixed frame rate. The rate may be changed while another thread reads.
class TESSOR_API IFilterFrameRate : public virtual IStreamVideoEx
{
public:
    inline static const std::string CLASS_ID = SettingsFilterFrameRate::TREE_CLASS_ID;

    /// Frames per second.
    virtual Core::Property::Ratio GetFrameRate() const = 0;

    /// The tree of the settings: the rate under TAG_FPS.
    static Core::Property MakeSettings(const Core::Property::Ratio& frameRate);
};

} // namespace Tessor::Proc
