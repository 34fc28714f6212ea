#include "tests/ffhost/Items.h"

#include "media/audio/AudioTime.h"
#include "media/items/DataAudioFF.h"
#include "media/items/DataVideoFF.h"

#include <cmath>

namespace Tessor::Host::Tests
{

using namespace Proc;

SP<IDataVideo> MakePicture(PixFmt format, int width, int height, int number)
{
    const SP<DataVideoFF> frame = DataVideoFF::Create(format, Conf::FrameInfo(width, height), nullptr);
    for (int i = 0; i < GetPlanesCount(*frame); ++i)
    {
        const auto plane = frame->GetPlane(i);
        for (size_t y = 0; y < plane.GetHeight(); ++y)
            for (size_t x = 0; x < plane.GetRowBytes(); ++x)
                *plane.GetOffsetPtr(x, y) =
                    static_cast<uint8_t>(128 + 60 * std::sin(0.11 * static_cast<double>(x) + 0.3 * number) *
                                                   std::cos(0.07 * static_cast<double>(y) + i));
    }
    frame->SetPTS(1000000 + number * 40000LL);
    frame->SetDuration(40000);
    return frame;
}

AVFrame& GetRecord(const SP<IDataVideo>& frame)
{
    return *dynamic_cast<DataVideoFF&>(*frame).GetAVFrame();
}

double FindPsnr(const IDataVideo& a, const IDataVideo& b)
{
    double sum = 0, count = 0;
    for (int i = 0; i < GetPlanesCount(a); ++i)
    {
        const auto first = a.GetPlane(i), second = b.GetPlane(i);
        for (size_t y = 0; y < first.GetHeight(); ++y)
            for (size_t x = 0; x < first.GetRowBytes(); ++x, ++count)
                sum += std::pow(*first.GetOffsetPtr(x, y) - *second.GetOffsetPtr(x, y), 2);
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * count / sum);
}

SP<Conf::IFormatCodecVideo> MakeVideoFormat(PixFmt format, int width, int height, int parWidth, int parHeight)
{
    const SP<Conf::IFormatCodecVideo> result = Conf::IFormatCodecVideo::Create();
    result->InitByPixelAspect(static_cast<unsigned>(width), static_cast<unsigned>(height),
                              static_cast<unsigned>(parWidth), static_cast<unsigned>(parHeight));
    result->SetPixelFormat(format);
    result->SetFrameRate(25, 1);
    return result;
}

SP<IDataAudio> MakeSound(const Conf::SampleInfo& info, int count, long long first)
{
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
    const AudioRef audio = block->GetAudioRef();
    const int channels = info.GetChannelCount();
    for (int i = 0; info.GetFormat().format == Conf::SampleFormats::Float && i < count * channels; ++i)
        reinterpret_cast<float*>(audio.data)[i] =
            static_cast<float>(std::sin(0.05 * static_cast<double>(first + i / channels)) * 0.5);
    block->SetPTS(SampleCount2Duration(static_cast<unsigned long long>(first), info.GetSampleRate()));
    return block;
}

TrackInfo MakeTrack(MediaType type, AVCodecID codec, const Tessor::Test::Bytes& header, int rate)
{
    const std::shared_ptr<AVCodecParameters> made(avcodec_parameters_alloc(),
                                                  [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    made->codec_id = codec;
    made->codec_type = type == MediaType::Audio   ? AVMEDIA_TYPE_AUDIO
                       : type == MediaType::Video ? AVMEDIA_TYPE_VIDEO
                                                  : AVMEDIA_TYPE_SUBTITLE;
    made->sample_rate = rate;
    made->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    made->extradata = static_cast<uint8_t*>(av_mallocz(header.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    made->extradata_size = static_cast<int>(header.size());
    std::copy(header.begin(), header.end(), made->extradata);
    TrackInfo track;
    track.type = type;
    track.parameters = made;
    return track;
}

} // namespace Tessor::Host::Tests
