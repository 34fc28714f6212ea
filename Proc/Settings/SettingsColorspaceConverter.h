#pragma once

#include "Proc/Settings/SettingsField.h"
#include "media/formats/PixFmt.h"

namespace Tessor::Proc
{

/// Of the converter, which leaves frames of the accepted pixel formats as they are and brings others to the one of
/// them that loses least. No formats accept all.
class TESSOR_API SettingsColorspaceConverter final : public SettingsOf<SettingsColorspaceConverter>
{
public:
    inline static const std::string CLASS_ID = "SettingsColorspaceConverter";
    static const std::vector<SettingsField<SettingsColorspaceConverter>>& GetFields();

    SettingsColorspaceConverter() = default;
    explicit SettingsColorspaceConverter(std::vector<PixFmt> formats) : formats(std::move(formats)) {}

    std::vector<PixFmt> formats;
};

/// In a tree a list of formats is a text, "yuv420p|rgba".
template <>
struct FieldConversion<std::vector<PixFmt>>
{
    TESSOR_API static Core::Property ToProperty(const std::string& key, const std::vector<PixFmt>& formats);
    /// Throws SettingsException for a name that is no pixel format.
    TESSOR_API static std::vector<PixFmt> FromProperty(const Core::Property& value);
};

} // namespace Tessor::Proc
