#pragma once

namespace Tessor::Cli
{

/// From now on Ctrl-C and a polite request to end are noted instead of killing the program.
void CatchInterrupts();

/// Whether one has come.
bool IsInterrupted();

} // namespace Tessor::Cli
