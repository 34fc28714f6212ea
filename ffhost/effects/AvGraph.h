#pragma once

#include "Fnd/Export.h"
#include "ffhost/codecs/AvCodec.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct AVFilter;
struct AVFilterContext;
struct AVFilterGraph;

namespace Tessor::Host
{

/// What a chain of filters takes in, or gives out.
struct GraphFormat
{
    AVMediaType type = AVMEDIA_TYPE_UNKNOWN;
    int format = -1; ///< AVPixelFormat or AVSampleFormat
    int width = 0;
    int height = 0;
    AVRational aspect{0, 1};    ///< of a pixel; 0:1 is unknown
    AVRational frameRate{0, 1}; ///< 0:1 is unknown
    int sampleRate = 0;
    uint64_t channelMask = 0;

    static GraphFormat Of(const AVFrame& frame);
    /// Whether one chain can serve both. The rate of frames is only a hint.
    bool Fits(const GraphFormat& other) const;
};

/// One chain of libavfilter between one input and one output. Records carry times in microseconds.
class AvGraph
{
public:
    /// Throws EffectException with FFmpeg's reason.
    AvGraph(const std::string& chain, const GraphFormat& input);
    ~AvGraph();

    /// Whether frames leave a chain at the times at which they enter it, and all of them do; false also for filters
    /// that are not known for it. Throws EffectException with FFmpeg's reason where the text is no chain of filters
    /// that exist, with values that they take. Whether they take an input is not known before there is one.
    static bool KeepsTimes(const std::string& chain);
    /// Whether a chain fills time with pictures of its own in equal steps, however few go in. Throws the same.
    TESSOR_API static bool MakesSteps(const std::string& chain);

    /// A null frame is the end: after it the chain gives what it still holds.
    void Push(FramePtr frame);
    /// The next frame out, null where the chain wants more first.
    FramePtr Pull();
    GraphFormat GetOutput() const;

private:
    struct Deleter
    {
        void operator()(AVFilterGraph* graph) const;
    };
    using GraphPtr = std::unique_ptr<AVFilterGraph, Deleter>;
    struct Ends;

    static std::vector<const AVFilter*> ReadFilters(const std::string& chain);
    AVFilterContext* MakeSource();
    AVFilterContext* MakeSink();
    void CheckEnds(const Ends& ends) const;
    void Configure(const std::string& chain);
    void SetTimes(AVFrame& frame) const;

    const GraphPtr graph;
    const GraphFormat input;
    const AVRational inputBase; // of times that go in
    int64_t end = INT64_MIN;    // of the last frame that went in, where filters make more of it; INT64_MIN: no time
    AVFilterContext* source = nullptr; // the graph owns both
    AVFilterContext* sink = nullptr;
};

} // namespace Tessor::Host
