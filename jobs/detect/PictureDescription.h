#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "ffhost/io/MediaInfo.h"

#include <array>
#include <optional>
#include <string>

namespace Tessor::Jobs
{

/// The display that pictures were mastered on (SMPTE ST 2086).
struct MasteringDisplay
{
    using Point = std::array<double, 2>; ///< x and y of CIE 1931

    std::optional<std::array<Point, 4>> colours;    ///< red, green, blue and white
    std::optional<std::array<double, 2>> luminance; ///< the least and the most, in candelas per square metre
};

/// In candelas per square metre (CTA-861.3).
struct LightLevel
{
    unsigned pixel = 0;   ///< of the brightest pixel (MaxCLL)
    unsigned picture = 0; ///< the mean of the brightest picture (MaxFALL)
};

struct DolbyVision
{
    int profile = 0, level = 0;
};

/// What pictures are like beside their size. Texts are FFmpeg's names, empty where nothing is told.
struct PictureDescription
{
    std::string pixelFormat;
    int rotation = 0; ///< degrees clockwise by which players turn them
    std::string primaries, transfer, matrix, range;
    std::string fieldOrder; ///< "progressive", or which field comes first
    std::optional<MasteringDisplay> mastering;
    std::optional<LightLevel> light;
    std::optional<DolbyVision> dolbyVision;
};

/// As the container and the codec's header tell them.
PictureDescription DescribePictures(const Host::TrackInfo& track);

/// Adds what the first picture tells about mastering, which most containers leave to the messages of the codec. A
/// picture that can't be decoded tells nothing. Moves the stream.
void AddMessages(PictureDescription& description, const SP<Proc::IStreamRaw>& stream);

} // namespace Tessor::Jobs
