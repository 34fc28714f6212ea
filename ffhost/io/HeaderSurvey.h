#pragma once

#include "Fnd/Export.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct AVFormatContext;

namespace Tessor::Host
{

/// What stands in for a header of H.264 or HEVC that the container has broken or left out.
struct FoundHeader
{
    std::string fault;           ///< why the container's is unusable
    std::vector<uint8_t> header; ///< with the parameter sets that packets bring, in the framing of these; or empty
};

/// Looks at the headers of a file that was opened just now: at those that no parameter sets can be taken from, and at
/// the packets of their tracks, which may bring them (ISO/IEC 14496-15, 5.3.2: avc3 and hev1). By stream; good headers
/// and those that merely lack sets which no packet brings are not in it. The file has to be opened anew where it has
/// read packets, which it does only when the result is not certain without.
class HeaderSurvey
{
public:
    explicit HeaderSurvey(AVFormatContext& context);

    const std::map<int, FoundHeader>& GetHeaders() const { return headers; }
    bool HasRead() const { return hasRead; }

private:
    struct Track;

    std::map<int, Track> FindTracks(AVFormatContext& context) const;
    void ReadPackets(AVFormatContext& context, std::map<int, Track>& tracks);

    std::map<int, FoundHeader> headers;
    bool hasRead = false;
};

} // namespace Tessor::Host
