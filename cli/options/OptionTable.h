#pragma once

#include <string>
#include <variant>
#include <vector>

namespace Tessor::Cli
{

/// One option or positional argument of a verb. Help, completion, the manual page and validation all come from it.
struct Option
{
    using Target = std::variant<bool*, std::string*, std::vector<std::string>*>;

    std::string names; ///< "-y,--overwrite", or the name of a positional argument ("IN")
    std::string value; ///< what stands after it ("A-B[,C-D]"); empty for a flag and for positionals
    std::string help;
    Target target;
    std::vector<std::string> choices = {}; ///< when not empty: what the value may be
    bool file = false;                     ///< the value is a file's name
    bool required = false;

    bool IsPositional() const { return names.front() != '-'; }
    bool IsFlag() const { return std::holds_alternative<bool*>(target); }
    /// The names one by one: {"-y", "--overwrite"}.
    std::vector<std::string> GetNames() const;
};

using OptionTable = std::vector<Option>;

} // namespace Tessor::Cli
