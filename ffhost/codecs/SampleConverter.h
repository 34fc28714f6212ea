#pragma once

#include "ffhost/codecs/AvCodec.h"
#include "media/formats/SampleInfo.h"

struct SwrContext;

namespace Tessor::Host
{

/// Brings frames of sound to one rate, sample format and channel layout, over libswresample.
class SampleConverter
{
public:
    explicit SampleConverter(const Conf::SampleInfo& output) : output(output) {}

    /// The frame in the output's form, without times; null when it has that form already. Throws FilterException for
    /// what can't be converted.
    FramePtr Convert(const AVFrame& frame);
    /// Forgets what a change of rate holds back.
    void Reset() { context.reset(); }

private:
    struct Deleter
    {
        void operator()(SwrContext* context) const;
    };

    bool Fits(const AVFrame& frame) const;
    void Open(const AVFrame& frame);

    const Conf::SampleInfo output;
    std::unique_ptr<SwrContext, Deleter> context; // for frames like `input`; null before the first that differs
    FramePtr input;                               // describes what the context was opened for; without samples
};

} // namespace Tessor::Host
