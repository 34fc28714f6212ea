#pragma once

#include "media/audio/AudioRef.h"
#include "media/formats/SampleInfo.h"
#include "media/items/IData.h"

namespace Tessor::Proc
{

/// A block of decoded samples in one contiguous buffer.
class TESSOR_API IDataAudio : public virtual IDataMedia
{
public:
    virtual int GetSampleRate() const = 0;
    /// Samples per channel.
    virtual int GetSampleCount() const = 0;
    virtual Conf::SampleInfo GetSampleInfo() const = 0;
    /// 0: new times over the shared samples; 1 and 2: a deep copy.
    virtual SP<IDataAudio> Clone(int mode) const = 0;
    /// A view through which the samples may be written; no clone sees the change.
    virtual AudioRef GetAudioRef() = 0;
    /// A view for reading only; the samples may be shared.
    virtual AudioRef GetConstAudioRef() const = 0;
    /// Zeros, or 128 where samples are unsigned.
    virtual void FillSilence() = 0;
};

} // namespace Tessor::Proc
