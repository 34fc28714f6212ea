#pragma once

#include <fmt/format.h>
#include <string>
#include <string_view>
#include <type_traits>

namespace Tessor::Cli
{

/// Text from files and their names as a person may see it, on one line: control codes, what turns the direction of
/// writing, and bytes that are no UTF-8 stand as escapes.
std::string Printable(std::string_view text);

/// Prints on standard output. Texts among the arguments are made printable; the format's own line breaks stay.
template <class... Args>
void Print(fmt::format_string<Args...> format, Args&&... args)
{
    [[maybe_unused]] const auto shown = []<class T>(const T& value)
    {
        if constexpr (std::is_convertible_v<const T&, std::string_view>)
            return Printable(value);
        else
            return value;
    };
    fmt::print(fmt::runtime(fmt::string_view(format)), shown(args)...);
}

} // namespace Tessor::Cli
