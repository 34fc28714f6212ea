#pragma once

#include <functional>
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
    /// What completion offers where there are no choices; asked only then.
    std::function<std::vector<std::string>()> suggestions = nullptr;

    bool IsPositional() const { return names.front() != '-'; }
    bool IsFlag() const { return std::holds_alternative<bool*>(target); }
    /// The words that its value may well be: the choices, or else the suggestions.
    std::vector<std::string> GetWords() const;
    /// The names one by one: {"-y", "--overwrite"}.
    std::vector<std::string> GetNames() const;
};

using OptionTable = std::vector<Option>;

} // namespace Tessor::Cli
