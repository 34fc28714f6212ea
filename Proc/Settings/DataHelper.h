#pragma once

#include "Fnd/Export.h"
#include "Fnd/Property/Property.h"

namespace Tessor::Proc
{

/// The default tree of the class `classId`, named `name`. Throws SettingsException for a class that has none.
TESSOR_API Core::Property CreateDataHelper(const std::string& classId, const std::string& name);

} // namespace Tessor::Proc
