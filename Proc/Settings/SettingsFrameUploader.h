#pragma once

#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

/// Of the effect that brings frames from main memory to graphics memory; there is nothing to set.
class TESSOR_API SettingsFrameUploader final : public SettingsOf<SettingsFrameUploader>
{
public:
    inline static const std::string CLASS_ID = "SettingsFrameUploader";
    static const std::vector<SettingsField<SettingsFrameUploader>>& GetFields()
    {
        static const std::vector<SettingsField<SettingsFrameUploader>> none;
        return none;
    }
};

} // namespace Tessor::Proc
