#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsVideo.h"
#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsFilterResample.h"
#include "Proc/Settings/SettingsResizer.h"
#include "bench/LoopStream.h"
#include "effects/IOneInputEffect.h"
#include "ffhost/registry/Host.h"
#include "host/ImplNames.h"
#include "media/items/DataAudioFF.h"
#include "media/items/DataVideoFF.h"

extern "C"
{
#include <libavutil/buffer.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>

using namespace Tessor;
using namespace Tessor::Proc;
using Conf::FrameInfo;
using Conf::SampleInfo;

namespace
{

// Filters over a source that repeats what exists beforehand, against the library called with the same flags, threads
// and allocation of what it fills. Both give the same bytes, or the row is an error. Processor time is that of all
// threads.

constexpr int Pictures = 6, Blocks = 64;
const FrameInfo Large(1920, 1080), Small(1280, 720);

enum Side
{
    Filter,
    Library,
};

enum Pair
{
    ToSmall,       // 1080p to 720p
    ToRgb,         // 1080p to RGBA
    ToSmallAndRgb, // one behind the other
};

// ---- pictures

std::vector<SP<IDataVideo>> MakePictures()
{
    std::mt19937 random(1);
    std::vector<SP<IDataVideo>> pictures;
    for (int number = 0; number < Pictures; ++number)
    {
        const SP<DataVideoFF> picture = DataVideoFF::Create(PixFmt::YUV420P, Large, nullptr);
        for (int i = 0; i < GetPlanesCount(*picture); ++i)
        {
            const auto plane = picture->GetPlane(i);
            for (size_t y = 0; y < plane.GetHeight(); ++y)
                for (size_t x = 0; x < plane.GetRowBytes(); ++x)
                    *plane.GetOffsetPtr(x, y) = static_cast<uint8_t>(random());
        }
        picture->SetPTS(number * 40000);
        picture->SetDuration(40000);
        pictures.push_back(picture);
    }
    return pictures;
}

SP<IStreamVideo> MakeFilters(int64_t pair, const std::vector<SP<IDataVideo>>& pictures)
{
    const Host::MediaHost host = Host::MakeHost();
    SP<IStreamVideo> stream(new Bench::LoopStream<IStreamVideo>(nullptr, pictures));
    if (pair != ToRgb)
    {
        SettingsResizer settings;
        settings.SetCustomMode(SettingsResizer::CustomModes::Exact, Small);
        stream = host.filters->CreateFilterVideoEx(settings, ImplNames::DEFAULT, stream);
    }
    if (pair != ToSmall)
    {
        const SP<IOneInputEffectVideo> converter =
            host.effects->CreateEffectVideo(SettingsColorspaceConverter::CLASS_ID, ImplNames::DEFAULT, nullptr);
        converter->Initialise(SettingsColorspaceConverter({PixFmt::RGBA}));
        const SP<IFilterApplyEffectsVideo> filter = host.filters->CreateApplyEffectsVideo(ImplNames::DEFAULT, stream);
        filter->AddEffect(converter);
        stream = filter;
    }
    return stream;
}

struct FreeFrame
{
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

/// libswscale by itself, on all cores, into pictures of a pool.
class DirectScaler
{
public:
    DirectScaler(const FrameInfo& from, AVPixelFormat fromFormat, const FrameInfo& to, AVPixelFormat toFormat,
                 int flags)
        : size(to), format(toFormat), context(sws_alloc_context()),
          pool(av_buffer_pool_init(
              static_cast<size_t>(av_image_get_buffer_size(format, to.width, to.height, Alignment)) + Alignment,
              nullptr))
    {
        const std::pair<const char*, int> options[] = {
            {"srcw", from.width},       {"srch", from.height},
            {"src_format", fromFormat}, {"dstw", to.width},
            {"dsth", to.height},        {"dst_format", format},
            {"sws_flags", flags},       {"threads", static_cast<int>(std::thread::hardware_concurrency())}};
        for (const auto& [name, value] : options)
            av_opt_set_int(context, name, value, 0);
        const int* matrix = sws_getCoefficients(SWS_CS_DEFAULT);
        if (sws_init_context(context, nullptr, nullptr) < 0)
            throw std::runtime_error("libswscale");
        sws_setColorspaceDetails(context, matrix, 0, matrix, 0, 0, 1 << 16, 1 << 16);
    }
    ~DirectScaler()
    {
        sws_freeContext(context);
        av_buffer_pool_uninit(&pool);
    }
    DirectScaler(const DirectScaler&) = delete;

    Frame Scale(const AVFrame& from)
    {
        Frame to(av_frame_alloc());
        to->format = format;
        to->width = size.width;
        to->height = size.height;
        to->buf[0] = av_buffer_pool_get(pool);
        av_image_fill_arrays(to->data, to->linesize, to->buf[0]->data, format, size.width, size.height, Alignment);
        if (sws_scale_frame(context, to.get(), &from) < 0)
            throw std::runtime_error("libswscale");
        return to;
    }

private:
    static constexpr int Alignment = 64;
    const FrameInfo size;
    const AVPixelFormat format;
    SwsContext* const context;
    AVBufferPool* pool;
};

/// The calls that stand for a pair's filters.
struct DirectPictures
{
    explicit DirectPictures(int64_t pair)
    {
        const int exact = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
        const FrameInfo middle = pair == ToRgb ? Large : Small;
        if (pair != ToRgb)
            steps.push_back(
                std::make_unique<DirectScaler>(Large, AV_PIX_FMT_YUV420P, Small, AV_PIX_FMT_YUV420P, SWS_BICUBIC));
        if (pair != ToSmall)
            steps.push_back(std::make_unique<DirectScaler>(middle, AV_PIX_FMT_YUV420P, middle, AV_PIX_FMT_RGBA, exact));
    }
    Frame Run(const SP<IDataVideo>& picture)
    {
        Frame result = steps.front()->Scale(*dynamic_cast<const DataVideoFF&>(*picture).GetAVFrame());
        for (size_t i = 1; i < steps.size(); ++i)
            result = steps[i]->Scale(*result);
        return result;
    }

    std::vector<std::unique_ptr<DirectScaler>> steps;
};

bool IsSame(const IDataVideo& picture, const AVFrame& frame)
{
    for (int i = 0; i < GetPlanesCount(picture); ++i)
    {
        const auto plane = picture.GetPlane(i);
        for (size_t y = 0; y < plane.GetHeight(); ++y)
            if (std::memcmp(plane.GetOffsetPtr(0, y), frame.data[i] + static_cast<ptrdiff_t>(y) * frame.linesize[i],
                            plane.GetRowBytes()) != 0)
                return false;
    }
    return picture.GetWidth() == frame.width && static_cast<int>(picture.GetPixFmt()) == frame.format;
}

void ScalePictures(benchmark::State& state)
{
    const std::vector<SP<IDataVideo>> pictures = MakePictures();
    const SP<IStreamVideo> stream = MakeFilters(state.range(1), pictures);
    DirectPictures direct(state.range(1));
    for (const SP<IDataVideo>& picture : pictures)
        if (!IsSame(*stream->Read(), *direct.Run(picture)))
            return state.SkipWithError("the filter's picture is another one");
    size_t next = 0;
    for (auto _ : state)
    {
        if (state.range(0) == Filter)
            benchmark::DoNotOptimize(stream->Read());
        else
            benchmark::DoNotOptimize(direct.Run(pictures[next++ % pictures.size()]));
    }
}
BENCHMARK(ScalePictures)
    ->ArgNames({"library", "pair"})
    ->ArgsProduct({{Filter, Library}, {ToSmall, ToRgb, ToSmallAndRgb}})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

// ---- sound

enum Conversion
{
    ToFloat, // of 48 kHz, s16 to planar floats
    ToRate,  // planar floats, 44.1 to 48 kHz
};

SampleInfo GetSource(int64_t conversion)
{
    return conversion == ToFloat ? SampleInfo(Conf::SampleFormats::S16, 48000, Conf::ChannelLayout::Stereo)
                                 : SampleInfo(Conf::SampleFormats::FloatP, 44100, Conf::ChannelLayout::Stereo);
}

std::vector<SP<IDataAudio>> MakeBlocks(int64_t conversion, int count)
{
    std::mt19937 random(1);
    const SampleInfo info = GetSource(conversion);
    std::vector<SP<IDataAudio>> blocks;
    for (int number = 0; number < Blocks; ++number)
    {
        const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
        const AudioRef audio = block->GetAudioRef();
        for (int i = 0; i < 2 * count; ++i)
            if (conversion == ToFloat)
                reinterpret_cast<int16_t*>(audio.data)[i] = static_cast<int16_t>(random());
            else
                reinterpret_cast<float*>(audio.data + i / count * static_cast<ptrdiff_t>(audio.linesize))[i % count] =
                    std::uniform_real_distribution<float>(-1, 1)(random);
        block->SetPTS(number * SECOND * count / info.GetSampleRate());
        blocks.push_back(block);
    }
    return blocks;
}

SP<IStreamAudio> MakeFilters(const std::vector<SP<IDataAudio>>& blocks)
{
    SettingsFilterResample settings;
    settings.rate = 48000;
    settings.format = ResampleOutput::Format::FloatP;
    const SP<IStreamAudio> source(new Bench::LoopStream<IStreamAudio>(nullptr, blocks));
    return Host::MakeHost().filters->CreateFilterAudioEx(settings, ImplNames::DEFAULT, source);
}

/// libswresample by itself; each block gets memory of its own, of the size that the library asks for.
class DirectResampler
{
public:
    struct Block
    {
        std::unique_ptr<uint8_t, void (*)(void*)> data;
        const uint8_t* planes[2];
        int count;
    };

    explicit DirectResampler(const SampleInfo& from) : packed(!from.GetFormat().planar)
    {
        AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
        if (swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_FLTP, 48000, &stereo,
                                static_cast<AVSampleFormat>(from.GetFormat().format), from.GetSampleRate(), 0,
                                nullptr) < 0 ||
            swr_init(context) < 0)
            throw std::runtime_error("libswresample");
    }
    ~DirectResampler() { swr_free(&context); }
    DirectResampler(const DirectResampler&) = delete;

    Block Run(const SP<IDataAudio>& block)
    {
        const AudioRef audio = block->GetConstAudioRef();
        const uint8_t* from[2] = {audio.data, packed ? nullptr : audio.data + audio.linesize};
        const int room = swr_get_out_samples(context, audio.sampleCount);
        uint8_t* to[2] = {};
        av_samples_alloc(to, nullptr, 2, room, AV_SAMPLE_FMT_FLTP, 0);
        const int count = swr_convert(context, to, room, from, audio.sampleCount);
        return {{to[0], av_free}, {to[0], to[1]}, count};
    }

private:
    const bool packed;
    SwrContext* context = nullptr;
};

bool IsSame(const IDataAudio& block, const DirectResampler::Block& direct)
{
    const AudioRef audio = block.GetConstAudioRef();
    const size_t bytes = static_cast<size_t>(direct.count) * sizeof(float);
    return audio.sampleCount == direct.count && std::memcmp(audio.data, direct.planes[0], bytes) == 0 &&
           std::memcmp(audio.data + audio.linesize, direct.planes[1], bytes) == 0;
}

void Resample(benchmark::State& state)
{
    const std::vector<SP<IDataAudio>> blocks = MakeBlocks(state.range(1), static_cast<int>(state.range(2)));
    const SP<IStreamAudio> stream = MakeFilters(blocks);
    DirectResampler direct(GetSource(state.range(1)));
    for (const SP<IDataAudio>& block : blocks)
        if (!IsSame(*stream->Read(), direct.Run(block)))
            return state.SkipWithError("the filter's block is another one");
    size_t next = 0;
    for (auto _ : state)
    {
        if (state.range(0) == Filter)
            benchmark::DoNotOptimize(stream->Read());
        else
            benchmark::DoNotOptimize(direct.Run(blocks[next++ % blocks.size()]));
    }
}
BENCHMARK(Resample)
    ->ArgNames({"library", "conversion", "samples"})
    ->ArgsProduct({{Filter, Library}, {ToFloat, ToRate}, {1024, 4800}});

} // namespace
