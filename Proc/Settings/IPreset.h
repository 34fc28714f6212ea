#pragma once

#include <string>

namespace Tessor::Proc::IPreset
{

/// Key of the implementation's name in a tree of settings; text, empty for the default one.
inline const std::string KEY_TYPE_ID = "TypeId";

} // namespace Tessor::Proc::IPreset
