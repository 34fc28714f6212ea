#include "ffhost/io/reading/PictureUnpacker.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
}

#include <new>
#include <regex>

namespace Tessor::Host
{

void PictureUnpacker::Deleter::operator()(AVBSFContext* context) const
{
    av_bsf_free(&context);
}

// DivX ends its name with a "p", and so does who packs like it.
bool PictureUnpacker::IsPacked(const AVCodecParameters& parameters)
{
    // user_data of ISO/IEC 14496-2: name, version and build of the encoder
    static const std::regex mark("DivX[0-9]+(b|Build)[0-9]+p");
    const auto* const header = reinterpret_cast<const char*>(parameters.extradata);
    return parameters.codec_id == AV_CODEC_ID_MPEG4 && header &&
           std::regex_search(header, header + parameters.extradata_size, mark);
}

PictureUnpacker::PictureUnpacker(AVCodecParameters& parameters)
{
    AVBSFContext* context = nullptr;
    const AVBitStreamFilter* const kind = av_bsf_get_by_name("mpeg4_unpack_bframes");
    const bool made = kind && av_bsf_alloc(kind, &context) >= 0;
    filter.reset(context);
    if (!made || avcodec_parameters_copy(context->par_in, &parameters) < 0 || av_bsf_init(context) < 0 ||
        avcodec_parameters_copy(&parameters, context->par_out) < 0)
        throw std::bad_alloc();
}

// The filter holds a picture back where a packet brings two, and gives it for the next packet. What it can't make out
// stands for no picture, too.
bool PictureUnpacker::Unpack(AVPacket& packet)
{
    return av_bsf_send_packet(filter.get(), &packet) >= 0 && av_bsf_receive_packet(filter.get(), &packet) >= 0;
}

void PictureUnpacker::Reset()
{
    av_bsf_flush(filter.get());
}

} // namespace Tessor::Host
