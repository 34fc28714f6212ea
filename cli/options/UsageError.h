#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace Tessor::Cli
{

/// What is wrong with a command line that could not be parsed: words that nobody knows come first, in their order, with
/// the one that may be meant.
std::string DescribeUsageError(const CLI::App& app, const CLI::ParseError& error);

} // namespace Tessor::Cli
