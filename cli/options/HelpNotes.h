#pragma once

#include "cli/Verb.h"

#include <string>
#include <vector>

namespace Tessor::Cli
{

/// How times are written.
struct TimeForm
{
    std::string form, meaning;
};
const std::vector<TimeForm>& GetTimeForms();
/// What holds of ranges of them.
std::string GetRangeText();

/// What stands below the options in the help of a verb: times where it takes them, and its examples.
std::string GetHelpNotes(const Verb& verb);

} // namespace Tessor::Cli
