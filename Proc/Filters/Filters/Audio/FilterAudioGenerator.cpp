#include "Proc/Filters/Filters/Audio/FilterAudioGenerator.h"

#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "media/items/DataAudioFF.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace Tessor::Proc
{

namespace
{

/// The low bits of the whole number: what lies beyond the sample's range wraps, and what is beyond all reason is 0.
template <class T>
T Truncate(double value)
{
    constexpr double bound = 0x1p62;
    return static_cast<T>(std::isnan(value) ? 0 : static_cast<int64_t>(std::clamp(value, -bound, bound)));
}

template <class T>
T MakeSample(double x)
{
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(x);
    else if constexpr (std::is_same_v<T, uint8_t>)
        return Truncate<T>(x * 127.0 + 128.0);
    else
        return Truncate<T>(x * 32767.0); // of 32 bits too, deliberately
}

template <class T>
void FillInterleaved(const AudioRef& audio, double (*generator)(int))
{
    T* place = reinterpret_cast<T*>(audio.data);
    const int channels = audio.sampleInfo.GetChannelCount();
    for (int i = 0; i < audio.sampleCount; ++i)
        place = std::fill_n(place, channels, MakeSample<T>(generator(i)));
}

template <class T>
void FillPlanar(const AudioRef& audio, double (*generator)(int))
{
    // asked once a sample and not once a channel: the function is the host's, and may be slow
    T* first = reinterpret_cast<T*>(audio.data);
    for (int i = 0; i < audio.sampleCount; ++i)
        first[i] = MakeSample<T>(generator(i));
    for (int channel = 1; channel < audio.sampleInfo.GetChannelCount(); ++channel)
        std::memcpy(audio.data + channel * audio.linesize, audio.data, audio.sampleCount * sizeof(T));
}

} // namespace

SP<IStreamAudioEx> FilterAudioGenerator::Create(const Settings& settings)
{
    const SP<IStreamAudioEx> filter(new FilterAudioGenerator);
    filter->Initialize(settings);
    return filter;
}

void FilterAudioGenerator::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

void FilterAudioGenerator::Initialize(const Settings& newSettings)
{
    Initialize(SettingsCast<SettingsAudioGenerator>(newSettings));
}

void FilterAudioGenerator::Initialize(const SettingsAudioGenerator& newSettings)
{
    const std::lock_guard lock(mutex);
    settings = newSettings;
    sampleInfo.Init(settings.sampleFormat, settings.sampleRate, settings.channelLayout);
    format->SetSampleInfo(sampleInfo);
    format->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, Conf::IFormatCodec::CODEC_ID_NONE);
    position = 0;
}

Core::Property FilterAudioGenerator::GetSettings() const
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

avTime FilterAudioGenerator::GetDuration() const
{
    const std::lock_guard lock(mutex);
    return settings.duration;
}

avTime FilterAudioGenerator::GetPosition()
{
    const std::lock_guard lock(mutex);
    return position;
}

void FilterAudioGenerator::RequestSeek(avTime time, SP<IStream>)
{
    const std::lock_guard lock(mutex);
    position = time;
}

Core::Property FilterAudioGenerator::GetStatistic() const
{
    const std::lock_guard lock(mutex);
    return AddStatistics(Core::GetRootItem(), Core::StatisticsTag("FilterAudioGenerator"), statisticsTime,
                         statisticsCount);
}

void FilterAudioGenerator::Accept(IStreamVisitor& visitor)
{
    Visitors::ProcessStandartVisitors(visitor, "FilterAudioGenerator", FRAME_ALLOC_CPU, nullptr);
}

SP<IDataAudio> FilterAudioGenerator::Read()
{
    const std::lock_guard lock(mutex);
    const avTime blockTime = GetBlockTime();
    // the count follows from the time, not the other way: the last block ends where the stream does
    const auto samples = static_cast<int>(blockTime > 0 ? av_rescale(blockTime, settings.sampleRate, SECOND) : 0);
    // the end, or a rest of less than half a sample, which no later read would make longer
    if (samples == 0)
        return nullptr;
    const SP<IDataAudio> block = DataAudioFF::CreateBySampleCount(sampleInfo, samples);
    block->SetPTS(position);
    position = AddTime(position, blockTime);
    if (settings.generator)
        Fill(*block);
    else
        block->FillSilence();
    ++statisticsCount;
    return block;
}

SP<Conf::IFormatCodecAudio> FilterAudioGenerator::GetFormatCodec() const
{
    const std::lock_guard lock(mutex);
    return format->Clone();
}

avTime FilterAudioGenerator::GetBlockTime() const
{
    const avTime remaining = SubTime(settings.duration, position);
    if (remaining <= 0 || settings.sampleRate <= 0)
        return 0;
    return std::min(av_rescale(settings.samplesPerBlock, SECOND, settings.sampleRate), remaining);
}

void FilterAudioGenerator::Fill(IDataAudio& block) const
{
    const AudioRef audio = block.GetAudioRef();
    switch (sampleInfo.GetFormat().format)
    {
    case Conf::SampleFormats::U8:
        return FillInterleaved<uint8_t>(audio, settings.generator);
    case Conf::SampleFormats::S16:
        return FillInterleaved<int16_t>(audio, settings.generator);
    case Conf::SampleFormats::S32:
        return FillInterleaved<int32_t>(audio, settings.generator);
    case Conf::SampleFormats::Float:
        return FillInterleaved<float>(audio, settings.generator);
    case Conf::SampleFormats::Double:
        return FillInterleaved<double>(audio, settings.generator);
    case Conf::SampleFormats::U8P:
        return FillPlanar<uint8_t>(audio, settings.generator);
    case Conf::SampleFormats::S16P:
        return FillPlanar<int16_t>(audio, settings.generator);
    case Conf::SampleFormats::S32P:
        return FillPlanar<int32_t>(audio, settings.generator);
    case Conf::SampleFormats::FloatP:
        return FillPlanar<float>(audio, settings.generator);
    case Conf::SampleFormats::DoubleP:
        return FillPlanar<double>(audio, settings.generator);
    default:
        Throw<std::logic_error>(TESSOR_HERE, "unsupported sample format");
    }
}

} // namespace Tessor::Proc
