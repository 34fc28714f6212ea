#pragma once

#include "tests/CodecParsers/HeaderTools.h"
#include "tests/support/Media.h"

extern "C"
{
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
}

#include <memory>

namespace Tessor::Test
{

/// Tests on the video track of the clip that is the parameter, or on its first audio track, as libavformat sees it;
/// times in microseconds.
template <MediaType Type>
class ClipTest : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        av_log_set_level(AV_LOG_QUIET);
        ASSERT_EQ(avformat_open_input(&context, ClipPath(GetParam()).c_str(), nullptr, nullptr), 0);
        ASSERT_GE(avformat_find_stream_info(context, nullptr), 0);
        constexpr AVMediaType kind = Type == MediaType::Audio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO;
        stream = context->streams[av_find_best_stream(context, kind, -1, -1, nullptr, 0)];
        parameters = stream->codecpar;
        extradata = BlobFF::Create(parameters->extradata, static_cast<size_t>(parameters->extradata_size));
    }
    void TearDown() override { avformat_close_input(&context); }

    /// The track's next packet, null at the end.
    SP<DataPacketFF> ReadPacket()
    {
        AVPacket* record = av_packet_alloc();
        while (av_read_frame(context, record) >= 0)
        {
            if (record->stream_index == stream->index)
            {
                av_packet_rescale_ts(record, stream->time_base, {1, 1000000});
                return DataPacketFF::Create(record, Type, record->pts, record->dts, record->duration);
            }
            av_packet_unref(record);
        }
        av_packet_free(&record);
        return nullptr;
    }

    AVFormatContext* context = nullptr;
    const AVStream* stream = nullptr;
    const AVCodecParameters* parameters = nullptr;
    SP<const IBlob> extradata;
};

inline std::shared_ptr<AVCodecContext> MakeContext(AVCodecID codec)
{
    return {avcodec_alloc_context3(avcodec_find_decoder(codec)), [](AVCodecContext* c) { avcodec_free_context(&c); }};
}

/// What libavcodec's parser sees in the packets of a track.
struct ReferenceParser
{
    explicit ReferenceParser(const AVCodecParameters& parameters)
        : parser(av_parser_init(parameters.codec_id), av_parser_close), context(MakeContext(parameters.codec_id))
    {
        avcodec_parameters_to_context(context.get(), &parameters);
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    }

    /// The parser's record (pict_type, key_frame) after the packet.
    const AVCodecParserContext& Parse(const IDataPacket& packet)
    {
        uint8_t* out = nullptr;
        int size = 0;
        av_parser_parse2(parser.get(), context.get(), &out, &size, packet.GetData(), packet.GetSize(), 0, 0, 0);
        return *parser;
    }

    const std::shared_ptr<AVCodecParserContext> parser;
    const std::shared_ptr<AVCodecContext> context;
};

/// A fresh decoder with that extradata.
inline std::shared_ptr<AVCodecContext> OpenDecoder(AVCodecID codec, const Bytes& extradata)
{
    const auto decoder = MakeContext(codec);
    decoder->extradata = static_cast<uint8_t*>(av_mallocz(extradata.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    decoder->extradata_size = static_cast<int>(extradata.size());
    std::copy(extradata.begin(), extradata.end(), decoder->extradata);
    decoder->flags2 = AV_CODEC_FLAG2_SKIP_MANUAL; // the priming is a frame, too
    decoder->thread_count = 1;
    EXPECT_EQ(avcodec_open2(decoder.get(), avcodec_find_decoder(codec), nullptr), 0);
    return decoder;
}

/// The first frame that a fresh decoder makes of a packet; null when it makes none.
inline std::shared_ptr<const AVFrame> DecodeAlone(AVCodecID codec, const IDataPacket& packet,
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
