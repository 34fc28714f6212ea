#pragma once

#include "Proc/Settings/SettingsField.h"

namespace Tessor::Proc
{

/// Of the effect that brings frames from graphics memory to main memory; there is nothing to set.
class TESSOR_API SettingsFrameDownloader final : public SettingsOf<SettingsFrameDownloader>
{
public:
    inline static const std::string CLASS_ID = "SettingsFrameDownloader";
    static const std::vector<SettingsField<SettingsFrameDownloader>>& GetFields()
    {
        static const std::vector<SettingsField<SettingsFrameDownloader>> none;
        return none;
    }
};

} // namespace Tessor::Proc
