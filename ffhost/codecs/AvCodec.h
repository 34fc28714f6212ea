#pragma once

#include "Fnd/Property/Property.h"
#include "Fnd/Time.h"
#include "media/items/IBlob.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <memory>
#include <string>

/// What decoders and encoders over libavcodec share.
namespace Tessor::Host
{

struct CodecContextDeleter
{
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;

struct FrameDeleter
{
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

/// The codec of a format's tree, AV_CODEC_ID_NONE when it is unknown.
AVCodecID FindCodecID(const Core::Property& format);

/// The child's number, or `unset`.
long long GetNumber(const Core::Property& tree, const std::string& tag, long long unset);
/// The child's text, or an empty one.
std::string GetText(const Core::Property& tree, const std::string& tag);

/// Where the track of a format ends. A source may only know the length of the file, which can be longer.
avTime GetTrackDuration(const Core::Property& format, avTime sourceDuration);

/// Frames are numbered, so that a tick is a frame: the rate of a format's tree, 25 where that tells none. Codecs that
/// know certain rates only get the nearest.
void SetFrameRate(AVCodecContext& context, const Core::Property& format);

/// The field orders of interlaced pictures.
bool IsInterlaced(long long order);

/// What an opened encoder tells a container.
std::shared_ptr<const AVCodecParameters> MakeParameters(const AVCodecContext& context);
/// The header of an opened encoder, null when it has none.
SP<const Proc::IBlob> CopyExtradata(const AVCodecContext& context);

/// Sets an option of an encoder or of libavcodec. Throws EncoderException when the encoder does not take it.
void SetOption(AVCodecContext& context, const char* option, const std::string& value);

} // namespace Tessor::Host
