#pragma once

namespace Tessor::Cli
{

/// The program's exit statuses.
enum class ExitCode
{
    Done = 0,
    Failed = 1,
    Usage = 2,
    OutputExists = 3,
    VerificationFailed = 4,
    Interrupted = 130,
};

} // namespace Tessor::Cli
