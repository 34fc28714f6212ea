#pragma once

#include <string>

namespace Tessor::Host
{

/// How groups are encoded that stand in for those of a source. What is not given is chosen so that no seam is seen.
struct RecodeOptions
{
    std::string encoder;
    std::string preset; ///< speed against size, in the encoder's own words
    int quality = -1;   ///< constant, on the encoder's own scale

    bool IsGiven() const { return !encoder.empty() || !preset.empty() || quality >= 0; }
};

} // namespace Tessor::Host
