#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct AVFormatContext;

namespace Tessor::Host
{

/// What stands in for a header of H.264 or HEVC that can't be used.
struct FoundHeader
{
    std::string fault;           ///< why the container's is unusable
    std::vector<uint8_t> header; ///< of the parameter sets that packets bring, in their framing; empty without any
};

/// Looks at the headers of a file that was opened just now and, where sets can't be taken from them, at the packets of
/// their tracks, which may bring these (avc3 and hev1 of ISO/IEC 14496-15 do). `found` is by stream; headers that are
/// good are not in it, nor are those that are well-formed, lack sets and get none from packets. True when packets were
/// read: the file has to be opened anew.
bool SurveyHeaders(AVFormatContext& context, std::map<int, FoundHeader>& found);

} // namespace Tessor::Host
