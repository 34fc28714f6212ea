#pragma once

#include "effects/IOneInputEffect.h"
#include "media/formats/SampleInfo.h"

#include <string>

namespace Tessor::Proc
{

/// An effect that converts rate, sample format and channel layout. A null block in drains what it holds; a block may
/// come back null while it collects.
class TESSOR_API IResample : public virtual IOneInputEffectAudio
{
public:
    inline static const std::string CLASS_ID = "IResample";

    /// The output; values that are unset are the input's. Takes effect at the next block.
    virtual void Init(const Conf::SampleInfo& output) = 0;
    /// Drops what is held of the input.
    virtual void Reset() = 0;
};

} // namespace Tessor::Proc
