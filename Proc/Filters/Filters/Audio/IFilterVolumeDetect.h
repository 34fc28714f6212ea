#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"

namespace Tessor::Proc
{

/// Tells whether a stream is quiet, by its first ten minutes.
class TESSOR_API IFilterVolumeDetect : public virtual IRefCountable
{
public:
    /// Reads the stream from its start.
    virtual void Process(const SP<IStreamAudio>& stream) = 0;
    virtual Core::Property GetStatistic() const = 0;
    /// The largest positive excursion, 1.0 for full scale; 0 before Process.
    virtual double GetPeakValue() const = 0;
    virtual bool IsLowLevel() const = 0;
};

} // namespace Tessor::Proc
