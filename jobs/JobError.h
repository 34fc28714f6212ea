#pragma once

#include "Fnd/Export.h"

#include <stdexcept>
#include <string>

namespace Tessor::Jobs
{

/// Why a job did not do what it was asked for, in one line that names the file and the cause. What fails inside of the
/// library comes as the library's own exceptions.
class TESSOR_API JobError : public std::runtime_error
{
public:
    enum Kind
    {
        Failed,       ///< the files don't allow it
        BadRequest,   ///< what was asked for is not understood, or makes no sense
        OutputExists, ///< and was not to be overwritten
        Cancelled,    ///< as the job's progress wanted it
    };

    JobError(Kind kind, const std::string& text) : std::runtime_error(text), kind(kind) {}

    const Kind kind;
};

} // namespace Tessor::Jobs
