#pragma once

#include "tests/CodecParsers/HeaderTools.h"
#include "tests/support/Media.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>
#include <optional>

namespace Tessor::Test
{

/// The video track of a real clip, or its first audio track, as libavformat sees it; times in microseconds.
class RealClip
{
public:
    RealClip(const std::string& name, MediaType type) : type(type)
    {
        av_log_set_level(AV_LOG_QUIET);
        EXPECT_EQ(avformat_open_input(&context, ClipPath(name).c_str(), nullptr, nullptr), 0);
        EXPECT_GE(avformat_find_stream_info(context, nullptr), 0);
        const AVMediaType kind = type == MediaType::Audio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO;
        stream = context->streams[av_find_best_stream(context, kind, -1, -1, nullptr, 0)];
    }
    ~RealClip() { avformat_close_input(&context); }
    RealClip(const RealClip&) = delete;
    RealClip& operator=(const RealClip&) = delete;

    const AVStream& GetStream() const { return *stream; }
    /// The track's next packet, null at the end.
    SP<Proc::DataPacketFF> Read()
    {
        AVPacket* record = av_packet_alloc();
        while (av_read_frame(context, record) >= 0)
        {
            if (record->stream_index == stream->index)
            {
                av_packet_rescale_ts(record, stream->time_base, {1, 1000000});
                return Proc::DataPacketFF::Create(record, type, record->pts, record->dts, record->duration);
            }
            av_packet_unref(record);
        }
        av_packet_free(&record);
        return nullptr;
    }

private:
    const MediaType type;
    AVFormatContext* context = nullptr;
    AVStream* stream = nullptr;
};

/// Tests on a track of the clip that is the parameter.
template <MediaType Type>
class ClipTest : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        TESSOR_SKIP_WITHOUT(GetParam());
        clip.emplace(GetParam(), Type);
        parameters = clip->GetStream().codecpar;
        extradata = Proc::BlobFF::Create(parameters->extradata, static_cast<size_t>(parameters->extradata_size));
    }

    std::optional<RealClip> clip;
    const AVCodecParameters* parameters = nullptr;
    SP<const Proc::IBlob> extradata;
};

inline std::string ClipName(const testing::TestParamInfo<const char*>& info)
{
    std::string name = info.param;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !isalnum(c); }, '_');
    return name;
}

/// A fresh decoder with that extradata.
inline std::shared_ptr<AVCodecContext> OpenDecoder(AVCodecID codec, const Bytes& extradata)
{
    const std::shared_ptr<AVCodecContext> decoder(avcodec_alloc_context3(nullptr),
                                                  [](AVCodecContext* c) { avcodec_free_context(&c); });
    decoder->extradata = static_cast<uint8_t*>(av_mallocz(extradata.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    decoder->extradata_size = static_cast<int>(extradata.size());
    std::copy(extradata.begin(), extradata.end(), decoder->extradata);
    decoder->flags2 = AV_CODEC_FLAG2_SKIP_MANUAL; // the priming is a frame, too
    decoder->thread_count = 1;
    EXPECT_EQ(avcodec_open2(decoder.get(), avcodec_find_decoder(codec), nullptr), 0);
    return decoder;
}

/// The first frame that a fresh decoder makes of a packet; null when it makes none.
inline std::shared_ptr<const AVFrame> DecodeAlone(AVCodecID codec, const Proc::IDataPacket& packet,
                                                  const Bytes& extradata = {})
{
    const auto decoder = OpenDecoder(codec, extradata);
    const std::shared_ptr<AVFrame> frame(av_frame_alloc(), [](AVFrame* f) { av_frame_free(&f); });
    const bool decoded = avcodec_send_packet(decoder.get(), packet.GetAVPacket()) == 0 &&
                         avcodec_send_packet(decoder.get(), nullptr) == 0 &&
                         avcodec_receive_frame(decoder.get(), frame.get()) == 0;
    return decoded ? frame : nullptr;
}

} // namespace Tessor::Test
