#include "Proc/Filters/Filters/Audio/FilterAudioGenerator.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "tests/support/ReadAll.h"

#include <cmath>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;

/// Full scale, its half, what lies outside, and what is no number.
constexpr double WAVE[] = {0.0, 0.5, -0.5, 1.0, -1.0, 1.5, -3.0, 1e300, NAN};
constexpr uint32_t WAVE_LENGTH = 9;
int calls = 0;

double Wave(int index)
{
    ++calls;
    return WAVE[index];
}

SettingsAudioGenerator Sound(SampleFormats format, ChannelLayout layout = ChannelLayout::Stereo)
{
    SettingsAudioGenerator settings;
    settings.generator = Wave;
    settings.samplesPerBlock = WAVE_LENGTH;
    settings.sampleFormat = format;
    settings.channelLayout = layout;
    return settings;
}

template <class T>
std::vector<T> Samples(const IDataAudio& block, int channel)
{
    const AudioRef audio = block.GetConstAudioRef();
    const bool planar = audio.sampleInfo.GetFormat().planar;
    const size_t step = planar ? 1 : static_cast<size_t>(audio.sampleInfo.GetChannelCount());
    const size_t start = planar ? channel * audio.linesize / sizeof(T) : static_cast<size_t>(channel);
    std::vector<T> samples;
    for (size_t i = 0; i < static_cast<size_t>(audio.sampleCount); ++i)
        samples.push_back(reinterpret_cast<const T*>(audio.data)[start + i * step]);
    return samples;
}

/// Every channel of every layout holds the wave, for which the function was called once a sample.
template <class T>
void ExpectWave(SampleFormats interleaved, const std::vector<T>& expected)
{
    const auto planar = static_cast<SampleFormats>(static_cast<int>(interleaved) + 5);
    for (const SampleFormats format : {interleaved, planar})
        for (const ChannelLayout layout : {ChannelLayout::Mono, ChannelLayout::Stereo, ChannelLayout::L5_1})
        {
            calls = 0;
            const SP<IStreamAudioEx> filter = FilterAudioGenerator::Create(Sound(format, layout));
            filter->Read();
            const SP<IDataAudio> block = filter->Read(); // the index starts anew in every block
            EXPECT_EQ(calls, static_cast<int>(2 * WAVE_LENGTH));
            for (int channel = 0; channel < GetChannelCount(layout); ++channel)
            {
                std::vector<T> samples = Samples<T>(*block, channel);
                samples.resize(expected.size());
                EXPECT_EQ(samples, expected) << static_cast<int>(format) << " " << channel;
            }
        }
}

TEST(FilterAudioGenerator, FillsAllFormats)
{
    ExpectWave<uint8_t>(SampleFormats::U8, {128, 191, 64, 255, 1, 62, 3, 0, 0});
    ExpectWave<int16_t>(SampleFormats::S16, {0, 16383, -16383, 32767, -32767, -16386, -32765, 0, 0});
    ExpectWave<int32_t>(SampleFormats::S32, {0, 16383, -16383, 32767, -32767, 49150, -98301, 0, 0});
    ExpectWave<float>(SampleFormats::Float, {0, 0.5, -0.5, 1, -1, 1.5, -3, HUGE_VALF});
    ExpectWave<double>(SampleFormats::Double, {0, 0.5, -0.5, 1, -1, 1.5, -3, 1e300});
}

TEST(FilterAudioGenerator, BlocksAndTheirTimes)
{
    const std::tuple<avTime, uint32_t, avTime, const char*> rows[] = {
        {10000000, 0, 0, "E"},
        {-5, 1000, 0, "E"},
        {30000, 1000, 0, "0:22.676 22.676:7.324 E"},
        {22680, 1000, 0, "0:22.676 E"}, // less than half a sample is left
        {30000, 1000, NoTime, "E"},
        {1000, 441, -10000, "-10:10 0:0.998 E"},
    };
    for (const auto& [duration, samples, start, expected] : rows)
    {
        SettingsAudioGenerator settings;
        settings.duration = duration;
        settings.samplesPerBlock = samples;
        const SP<IStreamAudioEx> filter = FilterAudioGenerator::Create(settings);
        EXPECT_EQ(filter->GetDuration(), duration);
        Seek(filter, start);
        EXPECT_EQ(filter->GetPosition(), start);
        std::string blocks;
        while (const SP<IDataAudio> block = filter->Read())
            blocks += PrintMs(block->GetPTS()) + ":" + PrintMs(block->GetDuration()) + " ";
        EXPECT_EQ(blocks + "E", expected) << duration;
    }
}

TEST(FilterAudioGenerator, SilenceAndFormatsThatAreNone)
{
    SettingsAudioGenerator settings = Sound(static_cast<SampleFormats>(10));
    const SP<IStreamAudioEx> filter = FilterAudioGenerator::Create(settings);
    EXPECT_EQ(TextOf<std::logic_error>([&] { filter->Read(); }), "unsupported sample format");
    EXPECT_EQ(filter->GetPosition(), 204) << "the position moves before the fault shows";
    EXPECT_EQ(TextOf<FilterException>([&] { filter->Initialize(Core::Property("X")); }), "Method not implemented");
    settings.generator = nullptr;
    settings.sampleFormat = SampleFormats::U8;
    filter->Initialize(settings);
    EXPECT_EQ(filter->GetPosition(), 0) << "settings rewind";
    EXPECT_EQ(Samples<uint8_t>(*filter->Read(), 1), std::vector<uint8_t>(9, 128));
    filter->Terminate();
    EXPECT_TRUE(filter->Read()) << "termination does not stop it";
    settings.sampleRate = -1;
    filter->Initialize(settings);
    EXPECT_FALSE(filter->Read());
}

} // namespace
} // namespace Tessor::Test
