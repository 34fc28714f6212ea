#pragma once

#include "Fnd/Export.h"
#include "Proc/Algorithms/AudioAlg/Audio2Mix.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Proc
{

/// The loops over samples of one type. `Gain` is the weight as the loops take it: 8.8 fixed point or a double.
template <class T, class GainT>
struct SampleKernels
{
    using Gain = GainT;

    void (*mix)(T* dst, const Audio2Mix* inputs, size_t inputCount, size_t sampleCount);
    /// `dst` and `src` are the same or do not overlap.
    void (*scale)(T* dst, const T* src, size_t sampleCount, Gain gain);
    void (*clip)(T* dst, const T* src, size_t sampleCount);
    /// The largest sample, but no less than `least`.
    T (*peak)(const T* src, size_t sampleCount, T least);
};

/// The loops of all sample types for one instruction set. All sets give the same results, bit for bit.
struct AudioKernels
{
    SampleKernels<unsigned char, int16_t> u8;
    SampleKernels<short, int32_t> s16;
    SampleKernels<int, int64_t> s32;
    SampleKernels<float, double> f32;
    SampleKernels<double, double> f64;
};

/// For any machine of the architecture.
TESSOR_API const AudioKernels& GetAudioKernelsBaseline();
/// For machines with AVX2.
TESSOR_API const AudioKernels& GetAudioKernelsAvx2();
/// Whether GetAudioKernelsAvx2 runs here.
TESSOR_API bool HasAvx2();
/// The fastest ones that run here.
TESSOR_API const AudioKernels& GetAudioKernels();

} // namespace Tessor::Proc
