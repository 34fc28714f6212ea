#pragma once

#include "media/audio/AudioRef.h"

#include <cstdint>

namespace Tessor::Proc
{

/// One input of MixAudio.
struct Audio2Mix
{
    AudioRef audio;
    double volume = 1.0; ///< weight; a negative one inverts
    /// Scratch of MixAudio: the weight as the sample type needs it, a fixed-point integer or the bits of a double.
    mutable int64_t fixedVolume = 0;
};

} // namespace Tessor::Proc
