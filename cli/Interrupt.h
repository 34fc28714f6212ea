#pragma once

namespace Tessor::Cli
{

/// From now on Ctrl-C and a polite request to end are noted instead of killing the program.
void CatchInterrupts();

/// Throws UserError with ExitCode::Interrupted once one has come.
void ThrowIfInterrupted();

} // namespace Tessor::Cli
