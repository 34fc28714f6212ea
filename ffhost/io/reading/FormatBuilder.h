#pragma once

#include "ffhost/io/MediaInfo.h"

struct AVStream;

namespace Tessor::Host
{

/// Our description of a track: codec, geometry or samples, colours, extradata, and whether foreign parameter sets may
/// join it. Null for tracks of no media type. `track` holds what is known of it already.
SP<Conf::IFormatCodec> BuildFormat(const AVStream& stream, const TrackInfo& track);

/// Why a second set of parameters with identifier 1 cannot join an H.264 header (avcC or start codes); empty when it
/// can. A header that cannot be read is no obstacle.
std::string FindRecodeObstacle(const uint8_t* extradata, size_t size);

} // namespace Tessor::Host
