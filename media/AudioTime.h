#pragma once

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
    /// A new rate folds the samples counted so far into the base. Does nothing while uninitialised.
    void AddSamples(int sampleRate, unsigned long long sampleCount);
    /// Rounded to nearest; NoTime while uninitialised.
    avTime GetTime() const;

private:
    avTime base = NoTime;
    int rate = 0;               // of the samples counted; 0 before the first
    unsigned long long count = 0; // samples since the base
};

/// Samples in a duration, rounded to nearest.
TESSOR_API long long Duration2SampleCount(avTime duration, int sampleRate);

} // namespace Tessor::Proc
