#pragma once

#include "effects/IEffect.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/IDataAudio.h"
#include "media/items/IDataVideo.h"

namespace Tessor::Proc
{

/// An effect that turns one item into one.
class TESSOR_API IOneInputEffect : public virtual IEffect
{
};

/// An effect on frames.
class TESSOR_API IOneInputEffectVideo : public virtual IOneInputEffect
{
public:
    using Item = IDataVideo;
    using Format = Conf::IFormatCodecVideo;

    /// Works on the frame in place or replaces it; null for a frame that is held back. A null frame in drains what is
    /// held.
    virtual void Process(SP<IDataVideo>& frame) = 0;
    /// Brings the format to what is delivered after the effect.
    virtual void UpdateFormat(SP<Conf::IFormatCodecVideo>& format) = 0;
};

/// An effect on blocks of samples.
class TESSOR_API IOneInputEffectAudio : public virtual IOneInputEffect
{
public:
    using Item = IDataAudio;
    using Format = Conf::IFormatCodecAudio;

    /// Works on the block in place or replaces it; null for a block that is held back. A null block in drains what is
    /// held.
    virtual void Process(SP<IDataAudio>& block) = 0;
    /// Brings the format to what is delivered after the effect.
    virtual void UpdateFormat(SP<Conf::IFormatCodecAudio>& format) = 0;
};

} // namespace Tessor::Proc
