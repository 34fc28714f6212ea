#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include "Fnd/Exception.h"
#include "Proc/Algorithms/AudioAlg/AudioKernels.h"
#include "media/audio/AudioTime.h"
#include "media/items/DataAudioFF.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numeric>
#include <random>

namespace Tessor::Proc
{
namespace
{

using Conf::ChannelLayout;
using Conf::SampleFormats;

template <class T>
SP<DataAudioFF> Block(SampleFormats format, const std::vector<T>& samples, ChannelLayout layout = ChannelLayout::Mono)
{
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(
        {format, 48000, layout}, static_cast<int>(samples.size()) / GetChannelCount(layout));
    std::copy(samples.begin(), samples.end(), reinterpret_cast<T*>(block->GetAudioRef().data));
    block->SetPTS(0);
    return block;
}

// The slow twins: the tables of the sample types, one sample at a time.

int64_t FixedGain(double volume)
{
    return static_cast<int64_t>(volume * 256.0 + 0.5);
}

unsigned char Twin(const std::vector<std::pair<unsigned char, double>>& inputs)
{
    uint32_t sum = 0;
    for (const auto& [s, volume] : inputs)
    {
        const auto gain = static_cast<int16_t>(FixedGain(volume));
        sum += (((s + 0xFFFF80u) * static_cast<uint32_t>(gain) + 128u) >> 8) + 128u;
    }
    const auto low = static_cast<int16_t>(sum);
    return low >= 0 && low <= 255 ? static_cast<unsigned char>(low) : low > 0 ? 255 : 0;
}

template <class T>
T Twin(const std::vector<std::pair<T, double>>& inputs)
{
    if constexpr (std::is_floating_point_v<T>)
    {
        double sum = 0;
        for (const auto& [s, volume] : inputs)
            sum += static_cast<double>(s) * volume;
        return std::clamp(static_cast<T>(sum), T{-1}, T{1});
    }
    else
    {
        int64_t sum = 0;
        for (const auto& [s, volume] : inputs)
            sum += (s * FixedGain(volume) + 128) >> 8;
        return static_cast<T>(std::clamp<int64_t>(sum, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
    }
}

template <class T>
T Random(std::mt19937& dice)
{
    if constexpr (std::is_floating_point_v<T>)
        return std::uniform_real_distribution<T>(-1.3, 1.3)(dice);
    else
        return static_cast<T>(std::uniform_int_distribution<long long>(std::numeric_limits<T>::min(),
                                                                       std::numeric_limits<T>::max())(dice));
}

/// Every length that leaves a rest after vectors and blocks, random gains, against the twin; in place too.
template <class T, class Gain>
void HoldAgainstTwin(const SampleKernels<T, Gain>& kernels)
{
    std::mt19937 dice(5);
    for (const size_t count : {0, 1, 7, 33, 511, 512, 513, 1500})
    {
        std::vector<std::vector<T>> data(1 + count % 5, std::vector<T>(count));
        std::vector<Audio2Mix> inputs;
        // gains of shorts beyond 16 bits take another way
        const double loudest = std::is_same_v<T, short> && count % 2 == 0 ? 200.0 : 3.0;
        for (std::vector<T>& samples : data)
        {
            for (T& s : samples)
                s = Random<T>(dice);
            const double volume = std::uniform_real_distribution<double>(-loudest, loudest)(dice);
            Audio2Mix input{{static_cast<int>(count), {}, reinterpret_cast<uint8_t*>(samples.data()), 0}, volume};
            if constexpr (std::is_integral_v<T>)
                input.fixedVolume = FixedGain(volume);
            else
                std::memcpy(&input.fixedVolume, &volume, sizeof(volume));
            inputs.push_back(input);
        }
        std::vector<T> mixed(count);
        kernels.mix(mixed.data(), inputs.data(), inputs.size(), count);
        EXPECT_EQ(kernels.peak(data[0].data(), count, T{1}),
                  std::accumulate(data[0].begin(), data[0].end(), T{1}, [](T a, T b) { return std::max(a, b); }));
        std::vector<T> scaled = data[0];
        const double volume = inputs[0].volume;
        kernels.scale(scaled.data(), scaled.data(), count,
                      static_cast<Gain>(std::is_integral_v<T> ? static_cast<double>(FixedGain(volume)) : volume));
        for (size_t i = 0; i < count; ++i)
        {
            std::vector<std::pair<T, double>> column;
            for (size_t n = 0; n < data.size(); ++n)
                column.emplace_back(data[n][i], inputs[n].volume);
            ASSERT_EQ(mixed[i], Twin(column)) << "of " << count << " at " << i;
            ASSERT_EQ(scaled[i], Twin(std::vector{column[0]})) << "of " << count << " at " << i;
        }
    }
}

TEST(AudioKernels, EqualTheTablesInEveryInstructionSet)
{
    const AudioKernels& baseline = GetAudioKernelsBaseline();
    for (const AudioKernels* kernels : {&baseline, HasAvx2() ? &GetAudioKernelsAvx2() : &baseline})
    {
        HoldAgainstTwin(kernels->u8);
        HoldAgainstTwin(kernels->s16);
        HoldAgainstTwin(kernels->s32);
        HoldAgainstTwin(kernels->f32);
        HoldAgainstTwin(kernels->f64);
    }
}

/// A sample of a block that is added so many times.
template <class T>
double MixOf(SampleFormats format, T sample, double volume, size_t times = 1)
{
    const SP<DataAudioFF> block = Block(format, std::vector<T>(3, sample)), mixed = Block(format, std::vector<T>(3));
    MixAudio(mixed->GetAudioRef(), std::vector<Audio2Mix>(times, {block->GetAudioRef(), volume}));
    return static_cast<double>(reinterpret_cast<const T*>(mixed->GetAudioRef().data)[2]);
}

TEST(AudioAlg, MixesWithWeights)
{
    EXPECT_EQ(MixOf<short>(SampleFormats::S16, 30000, 1.0, 2), 32767);
    // gains are truncated toward zero, negative ones too: -128 + 0.5 gives -127
    EXPECT_EQ(MixOf<short>(SampleFormats::S16P, 1000, -0.5), -496);
    EXPECT_EQ(MixOf<short>(SampleFormats::S16, 1000, std::nan("")), 0);
    // bounded to 64 bits before it is cut to those of the loops
    EXPECT_EQ(MixOf<short>(SampleFormats::S16, 1000, 1e300), -32768);
    EXPECT_EQ(MixOf<unsigned char>(SampleFormats::U8P, 128, 1.0, 2), 255) << "each brings its own bias";
    EXPECT_EQ(MixOf<int>(SampleFormats::S32P, 2147483647, 4.0), 2147483647);
    EXPECT_EQ(MixOf<double>(SampleFormats::DoubleP, 0.75, 0.5, 2), 0.75);
}

TEST(AudioAlg, LevelIsThePositivePeakOfThePlanesSeen)
{
    const AudioLevelInfo low = EstimateLevel(Block<short>(SampleFormats::S16, {-32768})->GetAudioRef());
    EXPECT_EQ(low.peak, 0);
    EXPECT_DOUBLE_EQ(low.rms, 1.000030518509476);

    EXPECT_EQ(EstimatePeak(Block<unsigned char>(SampleFormats::U8, {0, 255})->GetAudioRef()), 0.9921875);

    // interleaved stereo: as many values as there are samples, not twice as many
    const auto stereo = Block<float>(SampleFormats::Float, {0.25f, 0.5f, 1.0f, 1.0f}, ChannelLayout::Stereo);
    EXPECT_EQ(EstimateLevel(stereo->GetAudioRef()).peak, 0.5);

    std::mt19937 dice(3);
    for (int count = 0; count < 70; ++count)
    {
        std::vector<float> noise(static_cast<size_t>(count));
        for (float& s : noise)
            s = Random<float>(dice);
        if (count > 20)
            noise[static_cast<size_t>(count) - 3] = std::nanf("");
        const SP<DataAudioFF> block = Block<float>(SampleFormats::FloatP, noise);
        EXPECT_EQ(EstimatePeak(block->GetAudioRef()), EstimateLevel(block->GetAudioRef()).peak) << count;
    }
}

TEST(AudioAlg, ClipsFloatsAndRefusesUnknownFormats)
{
    const SP<DataAudioFF> loud = Block<float>(SampleFormats::Float, {-2.0f, 0.5f, 2.0f});
    ClipAudio(loud->GetAudioRef(), loud->GetAudioRef());
    const auto* const clipped = reinterpret_cast<const float*>(loud->GetAudioRef().data);
    EXPECT_EQ(std::vector<float>(clipped, clipped + 3), (std::vector<float>{-1.0f, 0.5f, 1.0f}));

    const AudioRef none;
    EXPECT_THROW(EstimateLevel(none), Exception);
    EXPECT_THROW(ClipAudio(none, none), Exception);
    EXPECT_THROW(VolumizeAudio(none, none, 1.0), Exception);
    EXPECT_NO_THROW(MixAudio(none, {})) << "nothing to add";
}

TEST(AudioAlg, FindsWhereBlocksOverlap)
{
    const auto ramp = [](int start, int count)
    {
        std::vector<int> samples;
        for (int i = 0; i < count; ++i)
            samples.push_back(1 + (start + i) * 1001);
        const SP<DataAudioFF> block = Block<int>(SampleFormats::S32, samples);
        block->SetPTS(SampleCount2Duration(static_cast<unsigned long long>(start), 48000));
        return block;
    };
    for (const auto& [firstCount, secondStart, secondCount, overlap] :
         {std::tuple(480, 384, 480, 96),
          {480, 528, 480, 0},  // a gap
          {480, 480, 480, 0},  // they touch: five samples are looked for, and not found
          {48, 0, 480, 48},    // the first lies within the second
          {480, 479, 480, 0}}) // one sample: nothing to look for
        EXPECT_EQ(FindIntersection(ramp(0, firstCount), ramp(secondStart, secondCount)), overlap) << secondStart;
    const SP<DataAudioFF> narrow = Block<uint8_t>(SampleFormats::U8, std::vector<uint8_t>(8));
    EXPECT_EQ(FindIntersection(Block<int>(SampleFormats::S32, std::vector<int>(8)), narrow), 0)
        << "8 bytes are shorter than a pattern of 4 samples";
}

TEST(AudioAlg, ReversesSamplesAndKeepsChannelsInOrder)
{
    for (const SampleFormats format : {SampleFormats::S16, SampleFormats::S16P})
    {
        const SP<DataAudioFF> block = Block<short>(format, std::vector<short>(10), ChannelLayout::Stereo);
        const AudioRef audio = block->GetAudioRef();
        const bool planar = format == SampleFormats::S16P;
        const auto at = [&](int i, int c) -> short&
        { return reinterpret_cast<short*>(audio.data + (planar ? c * audio.linesize : 0))[planar ? i : i * 2 + c]; };
        for (int i = 0; i < 5; ++i)
            for (int c = 0; c < 2; ++c)
                at(i, c) = static_cast<short>(10 * i + c);
        ReverseAudio(block);
        for (int i = 0; i < 5; ++i)
            for (int c = 0; c < 2; ++c)
                EXPECT_EQ(at(i, c), 10 * (4 - i) + c);
    }
}

} // namespace
} // namespace Tessor::Proc
