#include "Proc/Filters/Filters/SharedConverterSettings.h"

namespace Tessor::Proc
{

const SettingsColorspaceConverter& GetSharedConverterSettings()
{
    static const SettingsColorspaceConverter settings = []
    {
        // RGBA stands before its siblings, so that it is the one for other formats with alpha
        return SettingsColorspaceConverter(FieldConversion<std::vector<PixFmt>>::FromProperty(Core::Property(
            "formats", "yuv420p|yuv422p|yuv444p|yuv410p|yuv411p|yuv440p|yuvj420p|yuvj422p|yuvj444p|yuvj411p|yuvj440p|"
                       "nv12|rgba|bgra|argb|abgr")));
    }();
    return settings;
}

} // namespace Tessor::Proc
