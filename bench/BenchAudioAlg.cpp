#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/AudioKernels.h"
#include "media/items/DataAudioFF.h"

extern "C"
{
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

// Blocks of 100 ms in stereo, as a mixer's streams have them. Rows of public filters stand beside ours; each checks one
// block of the other side against its own before it starts.

constexpr int Rate = 48000;
constexpr int Samples = 4800;
constexpr int Values = 2 * Samples;
constexpr double Volume = 0.7109375; // 182/256: exact in fixed point on both sides

enum Set
{
    Baseline,
    Avx2,
};

const AudioKernels* FindKernels(benchmark::State& state, int64_t set)
{
    if (set == Avx2 && !HasAvx2())
    {
        state.SkipWithError("no AVX2 here");
        return nullptr;
    }
    return set == Avx2 ? &GetAudioKernelsAvx2() : &GetAudioKernelsBaseline();
}

template <class T>
std::vector<T> Noise(unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<T> values(Values);
    for (T& value : values)
        if constexpr (std::is_floating_point_v<T>)
            value = std::uniform_real_distribution<T>(-1, 1)(random);
        else
            value = static_cast<T>(std::uniform_int_distribution<int>(-32768, 32767)(random));
    return values;
}

template <class T>
struct Mixture
{
    explicit Mixture(int count)
    {
        for (int i = 0; i < count; ++i)
            sources.push_back(Noise<T>(i + 1));
        for (std::vector<T>& source : sources)
        {
            Audio2Mix input{{Samples, {}, reinterpret_cast<uint8_t*>(source.data()), 0}, 1.0 / count};
            if constexpr (std::is_floating_point_v<T>)
                std::memcpy(&input.fixedVolume, &input.volume, sizeof(input.volume));
            else
                input.fixedVolume = static_cast<int64_t>(input.volume * 256.0 + 0.5);
            inputs.push_back(input);
        }
    }

    std::vector<std::vector<T>> sources;
    std::vector<Audio2Mix> inputs;
    std::vector<T> sum = std::vector<T>(Values);
};

template <class T>
const auto& KernelsOf(const AudioKernels& kernels)
{
    if constexpr (std::is_same_v<T, short>)
        return kernels.s16;
    else
        return kernels.f32;
}

void CountValues(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * Values);
}

template <class T>
void Mix(benchmark::State& state)
{
    const AudioKernels* kernels = FindKernels(state, state.range(0));
    if (!kernels)
        return;
    Mixture<T> mixture(static_cast<int>(state.range(1)));
    for (auto _ : state)
    {
        KernelsOf<T>(*kernels).mix(mixture.sum.data(), mixture.inputs.data(), mixture.inputs.size(), Values);
        benchmark::ClobberMemory();
    }
    CountValues(state);
}

void Scale(benchmark::State& state)
{
    const AudioKernels* kernels = FindKernels(state, state.range(0));
    if (!kernels)
        return;
    const std::vector<short> source = Noise<short>(1);
    std::vector<short> scaled(Values);
    for (auto _ : state)
    {
        kernels->s16.scale(scaled.data(), source.data(), Values, 182);
        benchmark::ClobberMemory();
    }
    CountValues(state);
}

/// A graph of public filters with inputs and an output of one sample format.
class Graph
{
public:
    Graph(AVSampleFormat format, int inputs, const std::string& filters) : format(format)
    {
        std::string text;
        for (int i = 0; i < inputs; ++i)
            text += std::string("abuffer@") + std::to_string(i) +
                    "=sample_rate=48000:sample_fmt=" + av_get_sample_fmt_name(format) +
                    ":channel_layout=stereo:time_base=1/48000[i" + std::to_string(i) + "];";
        for (int i = 0; i < inputs; ++i)
            text += "[i" + std::to_string(i) + "]";
        text += filters + ",abuffersink@out";
        AVFilterInOut *openInputs = nullptr, *openOutputs = nullptr;
        graph->nb_threads = 1;
        Check(avfilter_graph_parse2(graph.get(), text.c_str(), &openInputs, &openOutputs));
        Check(avfilter_graph_config(graph.get(), nullptr));
        for (int i = 0; i < inputs; ++i)
            sources.push_back(avfilter_graph_get_filter(graph.get(), ("abuffer@" + std::to_string(i)).c_str()));
        sink = avfilter_graph_get_filter(graph.get(), "abuffersink@out");
    }

    /// One block of each input through the graph.
    template <class T>
    Graph& Run(const std::vector<std::vector<T>>& inputs)
    {
        while (frames.size() < inputs.size())
            frames.push_back(MakeFrame(inputs[frames.size()]));
        for (size_t i = 0; i < inputs.size(); ++i)
        {
            frames[i]->pts = time;
            Check(av_buffersrc_add_frame_flags(sources[i], frames[i].get(), AV_BUFFERSRC_FLAG_KEEP_REF));
        }
        time += Samples;
        av_frame_unref(output.get());
        Check(av_buffersink_get_frame(sink, output.get()));
        return *this;
    }

    template <class T>
    std::vector<T> GetOutput() const
    {
        std::vector<T> values(Values);
        std::memcpy(values.data(), output->data[0], Values * sizeof(T));
        return values;
    }

private:
    struct Free
    {
        void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
        void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    };

    static void Check(int result)
    {
        if (result < 0)
            throw std::runtime_error("libavfilter: " + std::to_string(result));
    }

    template <class T>
    std::unique_ptr<AVFrame, Free> MakeFrame(const std::vector<T>& values) const
    {
        std::unique_ptr<AVFrame, Free> frame(av_frame_alloc());
        frame->format = format;
        frame->sample_rate = Rate;
        frame->nb_samples = Samples;
        Check(av_channel_layout_from_string(&frame->ch_layout, "stereo"));
        Check(av_frame_get_buffer(frame.get(), 0));
        std::memcpy(frame->data[0], values.data(), Values * sizeof(T));
        return frame;
    }

    const AVSampleFormat format;
    const std::unique_ptr<AVFilterGraph, Free> graph{avfilter_graph_alloc()};
    std::vector<AVFilterContext*> sources;
    AVFilterContext* sink = nullptr;
    std::vector<std::unique_ptr<AVFrame, Free>> frames;
    const std::unique_ptr<AVFrame, Free> output{av_frame_alloc()};
    int64_t time = 0;
};

void FFmpegVolume(benchmark::State& state)
{
    const std::vector<std::vector<short>> source{Noise<short>(1)};
    std::vector<short> scaled(Values);
    GetAudioKernelsBaseline().s16.scale(scaled.data(), source[0].data(), Values, 182);
    Graph graph(AV_SAMPLE_FMT_S16, 1, "volume=volume=" + std::to_string(Volume) + ":precision=fixed");
    if (graph.Run(source).GetOutput<short>() != scaled)
        return state.SkipWithError("other results than ours");
    for (auto _ : state)
        graph.Run(source);
    CountValues(state);
}

/// amix has no integers: s16 stands for what a user of it has to run.
template <class T>
void FFmpegMix(benchmark::State& state)
{
    const auto count = static_cast<int>(state.range(0));
    Mixture<T> mixture(count);
    KernelsOf<T>(GetAudioKernelsBaseline()).mix(mixture.sum.data(), mixture.inputs.data(), count, Values);
    const bool floats = std::is_floating_point_v<T>;
    Graph graph(floats ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S16, count,
                "amix=inputs=" + std::to_string(count) + (floats ? "" : ",aformat=sample_fmts=s16"));
    const std::vector<T> theirs = graph.Run(mixture.sources).template GetOutput<T>();
    const double tolerance = floats ? 1e-5 : count; // every input of ours is rounded
    for (size_t i = 0; i < theirs.size(); ++i)
        if (std::abs(static_cast<double>(theirs[i]) - static_cast<double>(mixture.sum[i])) > tolerance)
            return state.SkipWithError("other results than ours");
    for (auto _ : state)
        graph.Run(mixture.sources);
    CountValues(state);
}

template <bool onlyPeak>
void Estimate(benchmark::State& state)
{
    const auto format = static_cast<Conf::SampleFormats>(state.range(0));
    const SP<DataAudioFF> block =
        DataAudioFF::CreateBySampleCount({format, Rate, Conf::ChannelLayout::Stereo}, Samples);
    const AudioRef audio = block->GetAudioRef();
    const std::vector<short> shorts = Noise<short>(1);
    const std::vector<float> floats = Noise<float>(1);
    for (int i = 0; i < Values; ++i)
        if (format == Conf::SampleFormats::S16P)
            reinterpret_cast<short*>(audio.data)[i] = shorts[i];
        else
            reinterpret_cast<float*>(audio.data)[i] = floats[i];
    if (EstimatePeak(audio) != EstimateLevel(audio).peak)
        return state.SkipWithError("the peaks differ");
    for (auto _ : state)
        benchmark::DoNotOptimize(onlyPeak ? EstimatePeak(audio) : EstimateLevel(audio).peak);
    CountValues(state);
}

void MixArguments(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"avx2", "inputs"})->ArgsProduct({{Baseline, Avx2}, {2, 4, 8}});
}

constexpr auto ShortPlanes = static_cast<int64_t>(Conf::SampleFormats::S16P);
constexpr auto FloatPlanes = static_cast<int64_t>(Conf::SampleFormats::FloatP);

BENCHMARK_TEMPLATE(Mix, short)->Apply(MixArguments);
BENCHMARK_TEMPLATE(FFmpegMix, short)->ArgName("inputs")->Arg(2)->Arg(4)->Arg(8);
BENCHMARK_TEMPLATE(Mix, float)->Apply(MixArguments);
BENCHMARK_TEMPLATE(FFmpegMix, float)->ArgName("inputs")->Arg(2)->Arg(4)->Arg(8);
BENCHMARK(Scale)->ArgName("avx2")->Arg(Baseline)->Arg(Avx2);
BENCHMARK(FFmpegVolume);
BENCHMARK_TEMPLATE(Estimate, false)->Name("EstimateLevel")->ArgName("format")->Arg(ShortPlanes)->Arg(FloatPlanes);
BENCHMARK_TEMPLATE(Estimate, true)->Name("EstimatePeak")->ArgName("format")->Arg(ShortPlanes)->Arg(FloatPlanes);

} // namespace
