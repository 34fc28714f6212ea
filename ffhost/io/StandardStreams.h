#pragma once

#include <string>

namespace Tessor::Host
{

/// Whether the name of an input or output is that of the process's standard input or output. (A file of that name goes
/// by "./-".)
inline bool IsStandardStream(const std::string& name)
{
    return name == "-";
}

/// As messages and reports name what is read.
inline std::string NameInput(const std::string& path)
{
    return IsStandardStream(path) ? "standard input" : path;
}

/// The same of what is written.
inline std::string NameOutput(const std::string& path)
{
    return IsStandardStream(path) ? "standard output" : path;
}

} // namespace Tessor::Host
