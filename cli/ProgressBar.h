#pragma once

#include <string>

namespace Tessor::Cli
{

/// "cut [###.......]  31 %  12.5x  1 min 05 s left", shorter than the columns of a terminal: in its last one some begin
/// the next line. `done` from 0 to 1.
std::string MakeProgressBar(const std::string& stage, double done, double rate, double secondsLeft, size_t columns);

} // namespace Tessor::Cli
