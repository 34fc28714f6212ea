#include "ffhost/effects/AvGraph.h"

#include "Fnd/Exception.h"
#include "Fnd/Time.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/Threads.h"
#include "ffhost/effects/Frames.h"
#include "media/FFmpegCompat.h"

extern "C"
{
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <algorithm>

namespace Tessor::Host
{

using Proc::EffectException;

namespace
{

constexpr AVRational microseconds = {1, SECOND};

bool IsKnown(AVRational ratio)
{
    return ratio.num > 0 && ratio.den > 0;
}

/// Unknown ratios are alike, however they are written.
bool AreEqual(AVRational a, AVRational b)
{
    return IsKnown(a) == IsKnown(b) && (!IsKnown(a) || av_cmp_q(a, b) == 0);
}

/// Runs a step of the setting up. Throws EffectException with the first error that it logs.
template <class Step>
void Require(const std::string& chain, Step step)
{
    const FFmpegErrorCapture capture;
    const int result = step();
    if (result < 0)
        Throw<EffectException>(TESSOR_HERE, "Filters \"" + chain + "\": " + capture.GetText(result));
}

bool IsAmong(const AVFilter& filter, std::initializer_list<const char*> names)
{
    return std::find(names.begin(), names.end(), std::string(filter.name)) != names.end();
}

/// A filter that can be switched off while it runs (timeline support) makes one frame of each, at its time: otherwise
/// there would be a jump. Those named first don't; of the filters without that support the ones that people use are
/// listed.
bool KeepsTimes(const AVFilter& filter)
{
    const auto isAmong = [&](std::initializer_list<const char*> names) { return IsAmong(filter, names); };
    if (isAmong({"adelay", "apad", "framestep", "shuffleframes", "tblend", "thumbnail", "tmedian"}))
        return false;
    return (filter.flags & AVFILTER_FLAG_SUPPORT_TIMELINE) != 0 ||
           isAmong({"null",       "copy",        "crop",    "pad",      "scale",     "zscale",    "format",
                    "noformat",   "setsar",      "setdar",  "setfield", "setparams", "setrange",  "transpose",
                    "subtitles",  "ass",         "deshake", "anull",    "aformat",   "aresample", "pan",
                    "channelmap", "acompressor", "compand", "loudnorm"});
}

template <class T>
T* Allocated(T* object)
{
    if (!object)
        throw std::bad_alloc();
    return object;
}

} // namespace

/// The open ends of a parsed chain.
struct AvGraph::Ends
{
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;

    Ends() = default;
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;
    ~Ends()
    {
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
    }
};

GraphFormat GraphFormat::Of(const AVFrame& frame)
{
    GraphFormat result;
    result.format = frame.format;
    if (frame.width > 0)
    {
        result.type = AVMEDIA_TYPE_VIDEO;
        result.width = frame.width;
        result.height = frame.height;
        result.aspect = frame.sample_aspect_ratio;
        // a hint for filters that ask for a rate
        if (FFmpeg::DurationOf(frame) > 0)
            av_reduce(&result.frameRate.num, &result.frameRate.den, microseconds.den, FFmpeg::DurationOf(frame),
                      INT32_MAX);
        return result;
    }
    result.type = AVMEDIA_TYPE_AUDIO;
    result.sampleRate = frame.sample_rate;
    result.channelMask = frame.ch_layout.u.mask;
    return result;
}

bool GraphFormat::Fits(const GraphFormat& other) const
{
    return type == other.type && format == other.format && width == other.width && height == other.height &&
           AreEqual(aspect, other.aspect) && sampleRate == other.sampleRate && channelMask == other.channelMask;
}

void AvGraph::Deleter::operator()(AVFilterGraph* graph) const
{
    avfilter_graph_free(&graph);
}

AvGraph::AvGraph(const std::string& chain, const GraphFormat& input)
    : graph(Allocated(avfilter_graph_alloc())), input(input),
      // Some filters of sound count their times in samples without a look at the base.
      inputBase(input.type == AVMEDIA_TYPE_AUDIO ? AVRational{1, input.sampleRate} : microseconds)
{
    graph->nb_threads = GetThreadLimit();
    // the source's failure is the format's, and is told with the chain's name
    Require(chain, [&] { return (source = MakeSource()) ? 0 : AVERROR(EINVAL); });
    sink = MakeSink();
    Configure(chain);
}

AvGraph::~AvGraph() = default;

// Parsed, and not configured: that takes an input.
std::vector<const AVFilter*> AvGraph::ReadFilters(const std::string& chain)
{
    const GraphPtr scratch(Allocated(avfilter_graph_alloc()));
    Ends ends;
    Require(chain, [&] { return avfilter_graph_parse2(scratch.get(), chain.c_str(), &ends.inputs, &ends.outputs); });
    std::vector<const AVFilter*> filters;
    for (unsigned i = 0; i < scratch->nb_filters; ++i)
        filters.push_back(scratch->filters[i]->filter);
    return filters;
}

bool AvGraph::KeepsTimes(const std::string& chain)
{
    const std::vector<const AVFilter*> filters = ReadFilters(chain);
    return std::all_of(filters.begin(), filters.end(),
                       [](const AVFilter* filter) { return Host::KeepsTimes(*filter); });
}

bool AvGraph::MakesSteps(const std::string& chain)
{
    const std::vector<const AVFilter*> filters = ReadFilters(chain);
    return std::any_of(filters.begin(), filters.end(),
                       [](const AVFilter* filter) {
                           return IsAmong(*filter, {"fps", "framerate", "minterpolate"});
                       });
}

/// Null where the input's format is refused.
AVFilterContext* AvGraph::MakeSource()
{
    const bool video = input.type == AVMEDIA_TYPE_VIDEO;
    AVFilterContext* made =
        Allocated(avfilter_graph_alloc_filter(graph.get(), avfilter_get_by_name(video ? "buffer" : "abuffer"), "in"));
    std::unique_ptr<AVBufferSrcParameters, void (*)(void*)> parameters(Allocated(av_buffersrc_parameters_alloc()),
                                                                       av_free);
    parameters->format = input.format;
    parameters->time_base = inputBase;
    parameters->width = input.width;
    parameters->height = input.height;
    parameters->sample_aspect_ratio = input.aspect;
    parameters->frame_rate = input.frameRate;
    parameters->sample_rate = input.sampleRate;
    av_channel_layout_from_mask(&parameters->ch_layout, input.channelMask);
    const bool made_well =
        av_buffersrc_parameters_set(made, parameters.get()) >= 0 && avfilter_init_str(made, nullptr) >= 0;
    return made_well ? made : nullptr;
}

AVFilterContext* AvGraph::MakeSink()
{
    const bool video = input.type == AVMEDIA_TYPE_VIDEO;
    AVFilterContext* made = Allocated(
        avfilter_graph_alloc_filter(graph.get(), avfilter_get_by_name(video ? "buffersink" : "abuffersink"), "out"));
    // All that blocks have: 64-bit integers are converted.
    static constexpr AVSampleFormat formats[] = {AV_SAMPLE_FMT_U8,   AV_SAMPLE_FMT_S16,  AV_SAMPLE_FMT_S32,
                                                 AV_SAMPLE_FMT_FLT,  AV_SAMPLE_FMT_DBL,  AV_SAMPLE_FMT_U8P,
                                                 AV_SAMPLE_FMT_S16P, AV_SAMPLE_FMT_S32P, AV_SAMPLE_FMT_FLTP,
                                                 AV_SAMPLE_FMT_DBLP, AV_SAMPLE_FMT_NONE};
    if (!video)
        Require(
            "sample_fmts", [&]
            { return av_opt_set_int_list(made, "sample_fmts", formats, AV_SAMPLE_FMT_NONE, AV_OPT_SEARCH_CHILDREN); });
    Require("out", [&] { return avfilter_init_str(made, nullptr); });
    return made;
}

void AvGraph::CheckEnds(const Ends& ends) const
{
    const auto fits = [&](const AVFilterInOut* end, bool isInput)
    {
        return end && !end->next &&
               avfilter_pad_get_type(isInput ? end->filter_ctx->input_pads : end->filter_ctx->output_pads,
                                     end->pad_idx) == input.type;
    };
    if (!fits(ends.inputs, true) || !fits(ends.outputs, false))
        Throw<EffectException>(TESSOR_HERE,
                               std::string("The filters do not form a chain with one input and one output of ") +
                                   av_get_media_type_string(input.type));
}

void AvGraph::Configure(const std::string& chain)
{
    // This way of parsing leaves the ends open, so that they can be judged before anything is linked.
    Ends ends;
    Require(chain, [&] { return avfilter_graph_parse2(graph.get(), chain.c_str(), &ends.inputs, &ends.outputs); });
    CheckEnds(ends);
    const auto link = [](AVFilterContext* from, int fromPad, AVFilterContext* to, int toPad)
    { return avfilter_link(from, static_cast<unsigned>(fromPad), to, static_cast<unsigned>(toPad)); };
    Require(chain, [&] { return link(source, 0, ends.inputs->filter_ctx, ends.inputs->pad_idx); });
    Require(chain, [&] { return link(ends.outputs->filter_ctx, ends.outputs->pad_idx, sink, 0); });
    Require(chain, [&] { return avfilter_graph_config(graph.get(), nullptr); });
}

void AvGraph::Push(FramePtr frame)
{
    // Filters that make frames of a rate of their own go on up to the time that the end has.
    if (!frame)
        return Require("", [&] { return av_buffersrc_close(source, end, 0); });
    const auto rescale = [&](int64_t time) { return av_rescale_q(time, microseconds, inputBase); };
    if (frame->pts != AV_NOPTS_VALUE)
    {
        end = rescale(frame->pts + FFmpeg::DurationOf(*frame));
        frame->pts = rescale(frame->pts);
    }
    Require("", [&] { return av_buffersrc_add_frame_flags(source, frame.get(), 0); });
}

FramePtr AvGraph::Pull()
{
    FramePtr frame = MakeFrame();
    int result = 0;
    Require("",
            [&]
            {
                // wanting more and having come to the end are no failures
                result = av_buffersink_get_frame(sink, frame.get());
                return result == AVERROR(EAGAIN) || result == AVERROR_EOF ? 0 : result;
            });
    if (result < 0)
        return nullptr;
    SetTimes(*frame);
    return frame;
}

/// Durations pass through filters as they are; where the rate of frames was changed they follow from the new one.
void AvGraph::SetTimes(AVFrame& frame) const
{
    const AVRational base = av_buffersink_get_time_base(sink);
    const AVRational rate = input.type == AVMEDIA_TYPE_VIDEO ? av_buffersink_get_frame_rate(sink) : AVRational{0, 1};
    const bool retimed = IsKnown(rate) && !AreEqual(rate, input.frameRate);
    if (frame.pts == AV_NOPTS_VALUE)
        return;
    const int64_t start = frame.pts; // in the base that the chain has come to
    frame.pts = av_rescale_q(start, base, microseconds);
    if (retimed)
    {
        // Where a frame lasts whole ticks its end is rounded as the start of the next one will be, so that they abut.
        const int64_t length = av_rescale_q(1, av_inv_q(rate), base);
        const bool onGrid = length > 0 && av_compare_ts(length, base, 1, av_inv_q(rate)) == 0;
        FFmpeg::DurationOf(frame) = onGrid ? av_rescale_q(start + length, base, microseconds) - frame.pts
                                           : av_rescale_q(1, av_inv_q(rate), microseconds);
    }
}

GraphFormat AvGraph::GetOutput() const
{
    GraphFormat output;
    output.type = input.type;
    output.format = av_buffersink_get_format(sink);
    if (input.type == AVMEDIA_TYPE_VIDEO)
    {
        output.width = av_buffersink_get_w(sink);
        output.height = av_buffersink_get_h(sink);
        output.aspect = av_buffersink_get_sample_aspect_ratio(sink);
        output.frameRate = av_buffersink_get_frame_rate(sink);
        return output;
    }
    output.sampleRate = av_buffersink_get_sample_rate(sink);
    AVChannelLayout layout = {};
    if (av_buffersink_get_ch_layout(sink, &layout) >= 0 && layout.order == AV_CHANNEL_ORDER_NATIVE)
        output.channelMask = layout.u.mask;
    av_channel_layout_uninit(&layout);
    return output;
}

} // namespace Tessor::Host
