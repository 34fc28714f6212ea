#pragma once

#include "Fnd/Property/Property.h"
#include "Proc/Settings/Settings.h"

namespace Tessor::Proc
{

/// The metadata that FilterStreamMetadataUpdater applies to a stream's format.
class TESSOR_API SettingsStreamMetadataUpdater final : public Settings
{
public:
    inline static const std::string CLASS_ID = "SettingsStreamMetadataUpdater";

    SettingsStreamMetadataUpdater() = default;
    explicit SettingsStreamMetadataUpdater(const Core::Property& metadata) : metadata(metadata) {}

    const std::string& GetClassId() const override { return CLASS_ID; }
    SettingsStreamMetadataUpdater* Clone() const override { return new SettingsStreamMetadataUpdater(*this); }
    bool IsEqualTo(const Settings& other) const override
    {
        return metadata == SettingsCast<SettingsStreamMetadataUpdater>(other).metadata;
    }

    Core::Property metadata{CLASS_ID};
};

} // namespace Tessor::Proc
