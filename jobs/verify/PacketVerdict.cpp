#include "jobs/verify/PacketVerdict.h"

#include "Fnd/Plural.h"

#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

void Append(std::string& text, long long count, const char* what)
{
    if (count > 0)
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, what);
}

} // namespace

std::string PacketVerdict::DescribeFaults() const
{
    std::string text;
    Append(text, missing, "missing");
    Append(text, doubled, "doubled");
    Append(text, misplaced, "out of place");
    Append(text, foreign, "that are none of the source's");
    return text.empty() ? "" : fmt::format("of {} {}", Count(expected, "packet"), text);
}

} // namespace Tessor::Jobs
