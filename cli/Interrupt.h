#pragma once

namespace Tessor::Cli
{

/// From now on Ctrl-C, a polite request to end and a closed terminal are noted instead of killing the program.
void CatchInterrupts();

/// Whether one has come.
bool IsInterrupted();

} // namespace Tessor::Cli
