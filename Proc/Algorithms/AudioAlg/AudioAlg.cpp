#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include "Fnd/Exception.h"
#include "Proc/Algorithms/AudioAlg/AudioKernels.h"
#include "media/audio/AudioTime.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Tessor::Proc
{

namespace
{

/// Calls back with the row of kernels for the sample type of a format, interleaved or planar.
template <class Callback>
auto WithKernels(const Conf::SampleInfo& info, const char* operation, Callback callback)
{
    const AudioKernels& kernels = GetAudioKernels();
    const Conf::SampleFormatDescription& format = info.GetFormat();
    switch (format.planar ? format.format : format.planarCounterpart)
    {
    case Conf::SampleFormats::U8P:
        return callback(kernels.u8);
    case Conf::SampleFormats::S16P:
        return callback(kernels.s16);
    case Conf::SampleFormats::S32P:
        return callback(kernels.s32);
    case Conf::SampleFormats::FloatP:
        return callback(kernels.f32);
    case Conf::SampleFormats::DoubleP:
        return callback(kernels.f64);
    default:
        Throw<Exception>(TESSOR_HERE, std::string(operation) + " doesn't support this sample format");
    }
}

/// Samples in the whole buffer, padding included.
template <class T>
size_t FlatLength(const AudioRef& audio)
{
    const size_t planes = audio.sampleInfo.GetFormat().planar ? audio.sampleInfo.GetChannelCount() : 1;
    return audio.linesize * planes / sizeof(T);
}

template <class T>
T* Samples(const AudioRef& audio)
{
    return reinterpret_cast<T*>(audio.data);
}

/// A volume as the loops take it. 8.8 fixed point goes through 64 bits, because a double may hold more than the gain.
template <class Gain>
Gain MakeGain(double volume)
{
    if constexpr (std::is_floating_point_v<Gain>)
    {
        return volume;
    }
    else
    {
        constexpr double bound = 9.2e18; // below 2^63: to convert more would be undefined
        const double fixed = std::clamp(volume * 256.0 + 0.5, -bound, bound);
        return static_cast<Gain>(std::isnan(fixed) ? 0 : static_cast<int64_t>(fixed));
    }
}

template <class Gain>
int64_t StoreGain(Gain gain)
{
    if constexpr (std::is_integral_v<Gain>)
        return gain;
    // the bits of the double; the loops turn them back
    int64_t stored;
    static_assert(std::is_integral_v<Gain> || sizeof(stored) == sizeof(gain));
    std::memcpy(&stored, &gain, sizeof(gain));
    return stored;
}

size_t BytesOf(const Conf::SampleInfo& info)
{
    return static_cast<size_t>(info.GetFormat().bits / 8);
}

/// Bytes from one sample of a plane to the next.
size_t Stride(const Conf::SampleInfo& info)
{
    return BytesOf(info) * (info.GetFormat().planar ? 1 : info.GetChannelCount());
}

int PlaneCount(const Conf::SampleInfo& info)
{
    return info.GetFormat().planar ? info.GetChannelCount() : 1;
}

} // namespace

void MixAudio(const AudioRef& dst, const std::vector<Audio2Mix>& inputs)
{
    if (inputs.empty())
        return;
    WithKernels(inputs[0].audio.sampleInfo, "MixAudio",
                [&]<class T, class Gain>(const SampleKernels<T, Gain>& kernels)
                {
                    for (const Audio2Mix& input : inputs)
                        input.fixedVolume = StoreGain(MakeGain<Gain>(input.volume));
                    kernels.mix(Samples<T>(dst), inputs.data(), inputs.size(), FlatLength<T>(dst));
                });
}

void VolumizeAudio(const AudioRef& dst, const AudioRef& src, double volume)
{
    WithKernels(src.sampleInfo, "VolumizeAudio",
                [&]<class T, class Gain>(const SampleKernels<T, Gain>& kernels)
                { kernels.scale(Samples<T>(dst), Samples<const T>(src), FlatLength<T>(dst), MakeGain<Gain>(volume)); });
}

AudioLevelInfo EstimateLevel(const AudioRef& audio)
{
    return WithKernels(audio.sampleInfo, "EstimateLevel",
                       [&]<class T, class Gain>(const SampleKernels<T, Gain>&)
                       {
                           AudioLevelInfo level;
                           double sum = 0;
                           const int planes = PlaneCount(audio.sampleInfo);
                           for (int plane = 0; plane < planes; ++plane)
                           {
                               const T* samples = reinterpret_cast<const T*>(audio.data + plane * audio.linesize);
                               for (int i = 0; i < audio.sampleCount; ++i)
                               {
                                   const double x = SampleTraits<T>::Convert(samples[i]);
                                   level.peak = std::max(level.peak, x);
                                   sum += x * x;
                               }
                           }
                           const double count = static_cast<double>(planes) * audio.sampleCount;
                           level.rms = count < 1 ? 0 : std::sqrt(sum / count);
                           return level;
                       });
}

double EstimatePeak(const AudioRef& audio)
{
    return WithKernels(audio.sampleInfo, "EstimateLevel",
                       [&]<class T, class Gain>(const SampleKernels<T, Gain>& kernels)
                       {
                           constexpr T silence = std::is_same_v<T, unsigned char> ? 128 : 0;
                           T peak = silence;
                           for (int plane = 0; plane < PlaneCount(audio.sampleInfo); ++plane)
                           {
                               const T* samples = reinterpret_cast<const T*>(audio.data + plane * audio.linesize);
                               peak = kernels.peak(samples, static_cast<size_t>(std::max(audio.sampleCount, 0)), peak);
                           }
                           return SampleTraits<T>::Convert(peak);
                       });
}

void ClipAudio(const AudioRef& dst, const AudioRef& src)
{
    WithKernels(src.sampleInfo, "ClipAudio",
                [&]<class T, class Gain>(const SampleKernels<T, Gain>& kernels)
                { kernels.clip(Samples<T>(dst), Samples<const T>(src), FlatLength<T>(dst)); });
}

void RepackAudio(const AudioRef& dst, const AudioRef& src)
{
    const size_t bytes =
        static_cast<size_t>(std::max(std::min(dst.sampleCount, src.sampleCount), 0)) * Stride(dst.sampleInfo);
    if (bytes == 0)
        return;
    for (int plane = 0; plane < PlaneCount(dst.sampleInfo); ++plane)
        std::memcpy(dst.data + plane * dst.linesize, src.data + plane * src.linesize, bytes);
}

void GetAudioSamples(const AudioRef& audio, int index, std::vector<double>& out)
{
    WithKernels(audio.sampleInfo, "GetAudioSamples",
                [&]<class T, class Gain>(const SampleKernels<T, Gain>&)
                {
                    if (audio.sampleInfo.GetFormat().planar)
                        GetPlanarSamples<SampleTraits<T>>(audio, index, out);
                    else
                        GetInterleavedSamples<SampleTraits<T>>(audio, index, out);
                });
}

long long FindIntersection(const SP<IDataAudio>& first, const SP<IDataAudio>& second)
{
    const avTime firstEnd = AddTime(first->GetPTS(), first->GetDuration());
    const avTime secondEnd = AddTime(second->GetPTS(), second->GetDuration());
    const avTime overlap = SubTime(std::min(firstEnd, secondEnd), std::max(first->GetPTS(), second->GetPTS()));
    if (overlap < 0)
        return 0;
    const AudioRef head = first->GetConstAudioRef(), tail = second->GetConstAudioRef();
    if (PlaneCount(head.sampleInfo) == 0)
        return std::numeric_limits<long long>::max();
    // Every plane would be looked for in the first one, with the same result.
    const long long count = Duration2SampleCount(overlap, first->GetSampleRate());
    // the last half of what should overlap: place and length of its match are what the second block repeats. Blocks
    // that only touch are tried with five samples.
    const long long half = count > 0 ? count / 2 : 5;
    const long long stride = static_cast<long long>(Stride(head.sampleInfo));
    // the second block has a stride of its own when the format has changed between the two
    const size_t tailBytes = static_cast<size_t>(tail.sampleCount) * Stride(tail.sampleInfo);
    if (stride == 0 || half > head.sampleCount || half == 0)
        return 0;
    const void* match = memmem(tail.data, tailBytes, head.data + (head.sampleCount - half) * stride,
                               static_cast<size_t>(half * stride));
    return match ? (static_cast<const uint8_t*>(match) - tail.data) / stride + half : 0;
}

void ReverseAudio(const SP<IDataAudio>& data)
{
    const AudioRef audio = data->GetAudioRef();
    const size_t stride = Stride(audio.sampleInfo);
    for (int plane = 0; plane < PlaneCount(audio.sampleInfo); ++plane)
    {
        uint8_t* front = audio.data + plane * audio.linesize;
        uint8_t* back = front + audio.sampleCount * stride;
        for (int i = 0; i < audio.sampleCount / 2; ++i)
        {
            back -= stride;
            std::swap_ranges(front, front + stride, back);
            front += stride;
        }
    }
}

} // namespace Tessor::Proc
