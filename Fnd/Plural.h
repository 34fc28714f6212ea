#pragma once

#include <string>

namespace Tessor
{

/// "1 packet", "2 packets"
inline std::string Count(long long number, const std::string& thing)
{
    return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

} // namespace Tessor
