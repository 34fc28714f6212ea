#pragma once

#include "Proc/Settings/SettingsTree.h"

#include <string>

namespace Tessor::Jobs
{

/// The value of a filter's key, in the form that its settings take: numbers, "yes" and "no" and their kin, ratios as
/// "30000/1001" or "29.97", words. Throws JobError::BadRequest for another type, and for what is out of range
/// or no word of the key.
Core::Property ParseValue(const std::string& filter, const Proc::FieldInfo& key, const std::string& text);

/// The type of a key's values for people: "integer", "0 to 16384" or "bwdif|yadif".
TESSOR_API std::string DescribeValues(const Proc::FieldInfo& key);

/// A value as it is written in a chain.
TESSOR_API std::string FormatValue(const Core::Property& value);

} // namespace Tessor::Jobs
