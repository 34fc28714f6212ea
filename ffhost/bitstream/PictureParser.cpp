#include "ffhost/bitstream/PictureParser.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <new>

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

namespace
{

PictureParser::Field ToField(AVPictureStructure structure)
{
    return structure == AV_PICTURE_STRUCTURE_TOP_FIELD      ? PictureParser::Field::Top
           : structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD ? PictureParser::Field::Bottom
                                                            : PictureParser::Field::Neither;
}

} // namespace

PictureParser::PictureParser(const AVCodecParameters& parameters, const SP<const Proc::IBlob>& header)
    : context(avcodec_alloc_context3(nullptr)), parser(av_parser_init(parameters.codec_id)),
      hasOrder(parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_HEVC)
{
    // The parser finds the header in the context, which is never opened.
    if (!context || avcodec_parameters_to_context(context.get(), &parameters) < 0)
        parser.reset();
    if (header && context)
        SetHeader(*header);
    // Packets are whole: the parser looks for no ends, and holds nothing back for the next one.
    if (parser)
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

// libavcodec frees the header itself, and its bit readers read past the end of it.
void PictureParser::SetHeader(const Proc::IBlob& header)
{
    av_freep(&context->extradata);
    context->extradata_size = 0;
    context->extradata = static_cast<uint8_t*>(av_mallocz(header.Size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context->extradata)
        throw std::bad_alloc();
    std::copy_n(header.Data(), header.Size(), context->extradata);
    context->extradata_size = static_cast<int>(header.Size());
}

PictureParser::Picture PictureParser::Look(const AVPacket& packet)
{
    if (!parser)
        return {};
    // The parser leaves it as it was where it can't read a picture.
    parser->picture_structure = AV_PICTURE_STRUCTURE_UNKNOWN;
    uint8_t* out = nullptr;
    int size = 0;
    av_parser_parse2(parser.get(), context.get(), &out, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
    return {parser->pict_type == AV_PICTURE_TYPE_B, parser->output_picture_number, ToField(parser->picture_structure)};
}

} // namespace Tessor::Host
