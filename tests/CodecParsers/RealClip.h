#pragma once

#include "media/BlobFF.h"
#include "media/DataPacketFF.h"
#include "tests/support/Media.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <gtest/gtest.h>

namespace Tessor::Test
{

/// The video track of a real clip, or its first audio track, as libavformat sees it; times in microseconds.
class RealClip
{
public:
    explicit RealClip(const std::string& name, MediaType type = MediaType::Video) : type(type)
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
    const AVCodecParameters& GetParameters() const { return *stream->codecpar; }
    SP<const Proc::IBlob> GetExtradata() const
    {
        return Proc::BlobFF::Create(GetParameters().extradata, static_cast<size_t>(GetParameters().extradata_size));
    }

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

/// What libavcodec's parser sees in the packets of a track.
class ReferenceParser
{
public:
    explicit ReferenceParser(const AVCodecParameters& parameters)
        : parser(av_parser_init(parameters.codec_id)), context(avcodec_alloc_context3(nullptr))
    {
        avcodec_parameters_to_context(context, &parameters);
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    }
    ~ReferenceParser()
    {
        av_parser_close(parser);
        avcodec_free_context(&context);
    }
    ReferenceParser(const ReferenceParser&) = delete;
    ReferenceParser& operator=(const ReferenceParser&) = delete;

    /// The parser's record (pict_type, key_frame) behind the packet.
    const AVCodecParserContext& Parse(const Proc::IDataPacket& packet)
    {
        uint8_t* out = nullptr;
        int size = 0;
        av_parser_parse2(parser, context, &out, &size, packet.GetData(), packet.GetSize(), 0, 0, 0);
        return *parser;
    }

private:
    AVCodecParserContext* const parser;
    AVCodecContext* context;
};

} // namespace Tessor::Test
