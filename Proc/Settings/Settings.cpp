#include "Proc/Settings/Settings.h"

#include "Fnd/Exception.h"

#include <stdexcept>

namespace Tessor::Proc
{

bool Settings::IsEqualTo(const Settings&) const
{
    Throw<std::logic_error>(TESSOR_HERE, "Not implemented comparison for settings CLASS_ID=" + GetClassId());
}

void Settings::Deserialize(const std::string&)
{
    Throw<SettingsException>(TESSOR_HERE, "Not implemented fill from string for settings CLASS_ID=" + GetClassId());
}

} // namespace Tessor::Proc
