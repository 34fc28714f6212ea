#pragma once

namespace Tessor::Cli
{

/// The program: parses the command line, runs the verb, tells every failure in one line, and returns the exit status.
int RunProgram(int argc, char** argv);

} // namespace Tessor::Cli
