#pragma once

#include "media/formats/SampleInfo.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Proc
{

/// A cheap, non-owning view of one audio block. Planes lie one after the other at distance `linesize`.
struct AudioRef
{
    int sampleCount = 0; ///< per channel
    Conf::SampleInfo sampleInfo;
    uint8_t* data = nullptr; ///< first byte of the samples
    size_t linesize = 0;     ///< bytes of one plane, padding included; of the whole buffer when interleaved
};

} // namespace Tessor::Proc
