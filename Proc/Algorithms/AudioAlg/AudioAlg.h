#pragma once

#include "Fnd/Export.h"
#include "Proc/Algorithms/AudioAlg/Audio2Mix.h"
#include "media/items/IDataAudio.h"

#include <vector>

/// Routines on raw samples. They allocate no block and hold no state; the caller owes the destination its room, and
/// lengths are not compared. All sample formats are served, interleaved and planar alike; others throw Exception.
/// Threads: pure functions on the caller's memory, except MixAudio, which writes the scratch words of its inputs.
namespace Tessor::Proc
{

/// The level of a block, 1.0 for full scale.
struct AudioLevelInfo
{
    double peak = 0; ///< the largest positive excursion; negative ones do not count
    double rms = 0;
};

/// A sample as a double.
template <class T>
struct SampleTraits;

template <>
struct SampleTraits<unsigned char>
{
    using Sample = unsigned char;
    static double Convert(unsigned char s) { return (s - 128) * 0.0078125; }
};

template <>
struct SampleTraits<short>
{
    using Sample = short;
    static double Convert(short s) { return s / 32767.0; }
};

template <>
struct SampleTraits<int>
{
    using Sample = int;
    static double Convert(int s) { return s / 2147483647.0; }
};

template <>
struct SampleTraits<float>
{
    using Sample = float;
    static double Convert(float s) { return static_cast<double>(s); }
};

template <>
struct SampleTraits<double>
{
    using Sample = double;
    static double Convert(double s) { return s; }
};

/// The weighted sum of the inputs, clipped to full scale. Integers are weighted in 8.8 fixed point, floating point in
/// doubles, the inputs in order. The format is that of the first input, the length the whole buffer of `dst`, padding
/// included. No inputs leave `dst` as it is. Every input of unsigned samples adds its own bias of 128.
TESSOR_API void MixAudio(const AudioRef& dst, const std::vector<Audio2Mix>& inputs);

/// The samples of `src` scaled and clipped, the gain of integers in 8.8 fixed point. The format is that of `src`, the
/// length the whole buffer of `dst`, padding included. Both may be the same memory.
TESSOR_API void VolumizeAudio(const AudioRef& dst, const AudioRef& src, double volume);

/// An interleaved block is judged by its first sampleCount values, whatever the number of channels.
TESSOR_API AudioLevelInfo EstimateLevel(const AudioRef& audio);

/// The peak of EstimateLevel, at a fraction of its cost.
TESSOR_API double EstimatePeak(const AudioRef& audio);

/// Copies the samples, floating point ones clipped to -1 and 1. Length and format as in VolumizeAudio.
TESSOR_API void ClipAudio(const AudioRef& dst, const AudioRef& src);

/// Copies the samples that both blocks hold, plane by plane, into the lines of `dst`; its other samples stay. Formats
/// and channels are the same.
TESSOR_API void RepackAudio(const AudioRef& dst, const AudioRef& src);

/// Appends sample `index` of each channel, as a double.
TESSOR_API void GetAudioSamples(const AudioRef& audio, int index, std::vector<double>& out);

template <class Traits>
void GetInterleavedSamples(const AudioRef& audio, int index, std::vector<double>& out)
{
    const auto* samples = reinterpret_cast<const typename Traits::Sample*>(audio.data);
    const int channels = audio.sampleInfo.GetChannelCount();
    for (int c = 0; c < channels; ++c)
        out.push_back(Traits::Convert(samples[static_cast<size_t>(index) * channels + c]));
}

template <class Traits>
void GetPlanarSamples(const AudioRef& audio, int index, std::vector<double>& out)
{
    for (int c = 0; c < audio.sampleInfo.GetChannelCount(); ++c)
        out.push_back(
            Traits::Convert(reinterpret_cast<const typename Traits::Sample*>(audio.data + c * audio.linesize)[index]));
}

/// How many samples at the start of the second block repeat the end of the first one, by a search of the bytes in the
/// first plane; 0 when they do not.
TESSOR_API long long FindIntersection(const SP<IDataAudio>& first, const SP<IDataAudio>& second);

/// Turns the block round, in place. Channels of a sample stay in order.
TESSOR_API void ReverseAudio(const SP<IDataAudio>& data);

} // namespace Tessor::Proc
