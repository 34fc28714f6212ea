#include "ffhost/io/PictureParser.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

namespace Tessor::Host
{

void PictureParser::Deleter::operator()(AVCodecContext* context) const
{
    avcodec_free_context(&context);
}

void PictureParser::Deleter::operator()(AVCodecParserContext* parser) const
{
    av_parser_close(parser);
}

PictureParser::PictureParser(const AVCodecParameters& parameters)
    : context(avcodec_alloc_context3(nullptr)), parser(av_parser_init(parameters.codec_id)),
      hasOrder(parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_HEVC)
{
    if (!context || avcodec_parameters_to_context(context.get(), &parameters) < 0)
        parser.reset();
    if (parser)
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

PictureParser::Picture PictureParser::Look(const AVPacket& packet)
{
    if (!parser)
        return {};
    uint8_t* out = nullptr;
    int size = 0;
    av_parser_parse2(parser.get(), context.get(), &out, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
    return {parser->pict_type == AV_PICTURE_TYPE_B, parser->output_picture_number};
}

} // namespace Tessor::Host
