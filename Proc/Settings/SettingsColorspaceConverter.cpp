#include "Proc/Settings/SettingsColorspaceConverter.h"

#include <sstream>

namespace Tessor::Proc
{

Core::Property FieldConversion<std::vector<PixFmt>>::ToProperty(const std::string& key,
                                                                const std::vector<PixFmt>& formats)
{
    // no commas or colons, which part filters and their keys where chains are written as text
    std::string names;
    for (const PixFmt format : formats)
        names += (names.empty() ? "" : "|") + PixFmtDescription::Find(format).GetName();
    return Core::Property(key, names);
}

std::vector<PixFmt> FieldConversion<std::vector<PixFmt>>::FromProperty(const Core::Property& value)
{
    std::vector<PixFmt> formats;
    std::istringstream names(value.GetString());
    for (std::string name; std::getline(names, name, '|');)
    {
        const PixFmt format = PixFmtDescription::FindByName(name);
        if (format == PixFmt::None)
            Throw<SettingsException>(TESSOR_HERE, "\"" + name + "\" is no pixel format");
        formats.push_back(format);
    }
    return formats;
}

const std::vector<SettingsField<SettingsColorspaceConverter>>& SettingsColorspaceConverter::GetFields()
{
    static const std::vector<SettingsField<SettingsColorspaceConverter>> fields = {
        {"formats", &SettingsColorspaceConverter::formats, "accepted pixel formats, such as yuv420p|rgba"},
    };
    return fields;
}

} // namespace Tessor::Proc
