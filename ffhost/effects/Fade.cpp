#include "ffhost/effects/Fade.h"

#include "Fnd/Exception.h"
#include "ffhost/effects/Frames.h"
#include "ffhost/effects/PictureView.h"
#include "ffhost/effects/PlainFormats.h"
#include "media/audio/AudioTime.h"

extern "C"
{
#include <libavutil/mathematics.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <functional>
#include <type_traits>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

constexpr int level_bits = 16; // after the point: 8-bit values times that stay within 32 bits

/// Distances from black are scaled, rounded to nearest on both sides of it: the shift rounds down, and half a step is
/// added before. Samples of 16 bits need more than 32 for their products.
template <class T>
void FadePlane(const ComponentPlane& plane, int black, double level)
{
    using Wide = std::conditional_t<sizeof(T) == 1, int32_t, int64_t>;
    const Wide gain = static_cast<Wide>(std::lround(level * (1 << level_bits)));
    const Wide half = Wide{1} << (level_bits - 1);
    const auto scale = [=](T value)
    { return static_cast<T>(black + (((static_cast<Wide>(value) - black) * gain + half) >> level_bits)); };
    for (int y = 0; y < plane.height; ++y)
    {
        T* row = &plane.At<T>(0, y);
        if (plane.step == static_cast<int>(sizeof(T)))
            std::transform(row, row + plane.width, row, scale); // the loop that compilers vectorise
        else
            for (int x = 0; x < plane.width; ++x)
                plane.At<T>(x, y) = scale(plane.At<T>(x, y));
    }
}

/// 16 of 8 bits in limited range, as the standards of video have it (ITU-R BT.601), with the chroma in the middle. Grey
/// that tells no range has all of it, as libswscale takes it.
int FindBlack(const AVFrame& picture, const AVPixFmtDescriptor& description, int component)
{
    if (description.flags & AV_PIX_FMT_FLAG_RGB)
        return 0;
    const int scale = 1 << (description.comp[0].depth - 8);
    const bool grey = description.nb_components < 3;
    if (component > 0 && !grey)
        return 128 * scale;
    constexpr AVPixelFormat full[] = {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ444P,
                                      AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUVJ411P};
    const bool limited = picture.color_range == AVCOL_RANGE_MPEG ||
                         (picture.color_range == AVCOL_RANGE_UNSPECIFIED && !grey &&
                          std::find(std::begin(full), std::end(full), picture.format) == std::end(full));
    return limited ? 16 * scale : 0;
}

/// The levels of samples, one after the other.
class LevelClock
{
public:
    /// The first sample is that of number `sample` from time 0 on.
    LevelClock(std::function<double(avTime)> levelAt, long long sample, int rate)
        : levelAt(std::move(levelAt)), rate(rate)
    {
        // Whole seconds are split off, rounded down, so that no product with SECOND leaves 64 bits.
        const long long second = sample / rate - (sample % rate < 0 ? 1 : 0);
        start = av_rescale(second, SECOND, 1); // NoTime where that is no time any more
        inSecond = sample - second * rate;
    }

    /// Most samples lie between two whole microseconds: in a line between their levels.
    double Next()
    {
        const avTime time = AddTime(start, inSecond * SECOND / rate);
        const double part = static_cast<double>(inSecond * SECOND % rate) / rate;
        ++inSecond;
        const double level = levelAt(time);
        return part == 0 ? level : level + (levelAt(AddTime(time, 1)) - level) * part;
    }

private:
    const std::function<double(avTime)> levelAt;
    const int rate;
    avTime start;       // of the second in which the first sample lies
    long long inSecond; // the next sample, counted from there
};

template <class Sample>
void FadeSamples(const AudioRef& audio, LevelClock clock)
{
    constexpr double bias = std::is_same_v<Sample, uint8_t> ? 128 : 0;
    const bool planar = audio.sampleInfo.GetFormat().planar;
    const int channels = planar ? 1 : audio.sampleInfo.GetChannelCount();
    const Planes planes = GetPlanes(audio);
    for (int i = 0; i < audio.sampleCount; ++i)
    {
        const double gain = clock.Next();
        for (uint8_t* plane : planes)
            for (int c = 0; c < channels; ++c)
            {
                Sample& sample = reinterpret_cast<Sample*>(plane)[i * channels + c];
                const double scaled = (static_cast<double>(sample) - bias) * gain + bias;
                sample = static_cast<Sample>(std::is_integral_v<Sample> ? std::floor(scaled + 0.5) : scaled);
            }
    }
}

void FadeBlock(const AudioRef& audio, const LevelClock& clock)
{
    switch (audio.sampleInfo.GetFormat().format)
    {
    case Conf::SampleFormats::U8:
    case Conf::SampleFormats::U8P:
        return FadeSamples<uint8_t>(audio, clock);
    case Conf::SampleFormats::S16:
    case Conf::SampleFormats::S16P:
        return FadeSamples<int16_t>(audio, clock);
    case Conf::SampleFormats::S32:
    case Conf::SampleFormats::S32P:
        return FadeSamples<int32_t>(audio, clock);
    case Conf::SampleFormats::Float:
    case Conf::SampleFormats::FloatP:
        return FadeSamples<float>(audio, clock);
    case Conf::SampleFormats::Double:
    case Conf::SampleFormats::DoubleP:
        return FadeSamples<double>(audio, clock);
    case Conf::SampleFormats::None:
        break;
    }
    Throw<EffectException>(TESSOR_HERE, "Can't fade samples of no format");
}

} // namespace

double GetFadeLevel(SettingsFade::Direction direction, const TimeToProgress& range, avTime time)
{
    if (range.begin < range.end)
        time = std::clamp(time, range.begin, range.end);
    double progress = range.GetProgress(time);
    // In an empty range progress is not a number: the fade is over.
    progress = std::isnan(progress) ? 1.0 : std::clamp(progress, 0.0, 1.0);
    return direction == SettingsFade::Direction::In ? progress : 1.0 - progress;
}

FadeVideo::FadeVideo(const SP<const IFactoryDataVideo>& data) : EffectBaseOneInput(data), plain(data)
{
    plain.Initialise(GetPlainFormats());
}

void FadeVideo::ProcessItem(SP<IDataVideo>& frame)
{
    plain.Process(frame);
    if (!frame || frame->GetPTS() == NoTime)
        return;
    const double level = GetFadeLevel(settings.direction, range, frame->GetPTS());
    if (level == 1.0)
        return;
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->GetPixFmt()));
    const AVFrame& picture = MakeWritable(frame);
    const int colors = description->nb_components - ((description->flags & AV_PIX_FMT_FLAG_ALPHA) ? 1 : 0);
    for (int i = 0; i < colors; ++i)
    {
        const ComponentPlane plane = ComponentPlane::Of(picture, i);
        const int black = FindBlack(picture, *description, i);
        if (description->comp[0].depth > 8)
            FadePlane<uint16_t>(plane, black, level);
        else
            FadePlane<uint8_t>(plane, black, level);
    }
}

void FadeAudio::ProcessItem(SP<IDataAudio>& block)
{
    if (!block || block->GetPTS() == NoTime || block->GetSampleCount() == 0 || block->GetSampleRate() <= 0)
        return;
    const long long first = FindFirstSample(*block);
    rate = block->GetSampleRate();
    nextSample = first + block->GetSampleCount();
    const avTime end = AddTime(block->GetPTS(), SampleCount2Duration(block->GetSampleCount(), rate));
    const auto levelAt = [this](avTime time) { return GetFadeLevel(settings.direction, range, time); };
    // Full level at the start tells of the whole block only where no sample of it lies in the range.
    const bool outside = end <= range.begin || block->GetPTS() > range.end;
    if (outside && levelAt(block->GetPTS()) == 1.0)
        return;
    if (block->GetRefCount() > 1)
        block = block->Clone(0);
    FadeBlock(block->GetAudioRef(), LevelClock(levelAt, first, rate));
}

long long FadeAudio::FindFirstSample(const IDataAudio& block) const
{
    const long long stated = Duration2SampleCount(block.GetPTS(), block.GetSampleRate());
    const bool abuts = block.GetSampleRate() == rate && stated >= nextSample - 1 && stated <= nextSample + 1;
    return abuts ? nextSample : stated;
}

} // namespace Tessor::Host
