#include "cli/verbs/LosslessText.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

std::string At(long long packet)
{
    return packet > 0 ? fmt::format(", as packet {} shows", packet) : "";
}

} // namespace

std::string DescribeLossless(const Jobs::LosslessFinding& finding)
{
    if (!finding.fault.empty())
        return "could not be examined to its end: " + finding.fault;
    if (!finding.copying)
        return "packets can't be copied: their times are not sound" + At(finding.copyingEnd);
    if (!finding.cutting)
        return "packets can be copied, but key frames are no clean cuts" + At(finding.cuttingEnd);
    return "packets can be copied, and cut at key frames";
}

} // namespace Tessor::Cli
