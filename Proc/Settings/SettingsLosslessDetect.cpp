#include "Proc/Settings/SettingsLosslessDetect.h"

namespace Tessor::Proc
{

bool SettingsLosslessDetect::IsEqualTo(const Settings& other) const
{
    const auto& that = SettingsCast<SettingsLosslessDetect>(other);
    return detectors == that.detectors && maxSequentialBadPts == that.maxSequentialBadPts &&
           minPacketsPerBadPts == that.minPacketsPerBadPts;
}

} // namespace Tessor::Proc
