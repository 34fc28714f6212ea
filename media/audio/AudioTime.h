#pragma once

#include "Fnd/Export.h"
#include "Fnd/Time.h"

namespace Tessor::Proc
{

/// A running audio position: a base and a count of samples, converted once, so that roundings never add up.
class TESSOR_API AudioTime
{
public:
    AudioTime() = default;

    bool isInit() const { return base != NoTime; }
    /// NoTime makes it uninitialised.
    void Reset(avTime time);
    /// A new rate folds the samples counted so far into the base. Does nothing while uninitialised; throws
    /// std::invalid_argument for a rate that is not above 0.
    void AddSamples(int sampleRate, unsigned long long sampleCount);
    /// Rounded to nearest; NoTime while uninitialised. Stops at the end of the range.
    avTime GetTime() const;

private:
    avTime base = NoTime;         // where counting began; NoTime until the first Reset
    int rate = 0;                 // of the samples counted; 0 before the first
    unsigned long long count = 0; // samples since the base
};

/// Samples in a duration, rounded to nearest, halves away from zero. 0 for NoTime and without a rate.
TESSOR_API long long Duration2SampleCount(avTime duration, int sampleRate);

/// The duration of that many samples, rounded to nearest. NoTime without a rate.
TESSOR_API avTime SampleCount2Duration(unsigned long long sampleCount, int sampleRate);

} // namespace Tessor::Proc
