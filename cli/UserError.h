#pragma once

#include "cli/ExitCode.h"

#include <stdexcept>
#include <string>

namespace Tessor::Cli
{

/// A failure told in one line, with the exit status that it ends the program with.
class UserError : public std::runtime_error
{
public:
    UserError(ExitCode code, const std::string& text) : std::runtime_error(text), code(code) {}

    const ExitCode code;
};

} // namespace Tessor::Cli
