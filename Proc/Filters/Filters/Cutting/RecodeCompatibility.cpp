#include "Proc/Filters/Filters/Cutting/RecodeCompatibility.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "Proc/Filters/Filters/Cutting/RecodeSettings.h"
#include "media/formats/IFormatCodecVideo.h"

#include <glog/logging.h>
#include <tuple>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;
using namespace CodecParsers;

namespace
{

/// What pictures of H.264 are decoded by.
struct H264Header
{
    SPS_decoded sps;
    PPS_decoded pps;
};

H264Header DecodeH264(const HeaderBytes& header, const char* side)
{
    H264Header decoded;
    try
    {
        DecodePPS(header.data, header.size, decoded.pps);
        DecodeSPS(header.data, header.size, decoded.sps);
    }
    catch (const Exception& e)
    {
        VLOG(21) << "Cought exception while decoding " << side << " h264 header: " << boost::diagnostic_information(e);
    }
    return decoded;
}

bool CompareH264(const HeaderBytes& source, const HeaderBytes& encoder)
{
    const H264Header input = DecodeH264(source, "input");
    const H264Header output = DecodeH264(encoder, "output");
    return input.pps.EqualTo(output.pps) && input.sps.EqualTo(output.sps);
}

// Decodes both headers and compares them; a header that can't be decoded is unlike any other.
template <class Config, class Equal>
bool Compare(const HeaderBytes& source, const HeaderBytes& encoder,
             void (*decode)(const uint8_t* data, size_t size, Config& config), const Equal& equal)
{
    try
    {
        Config input;
        Config output;
        decode(source.data, source.size, input);
        decode(encoder.data, encoder.size, output);
        return equal(input, output);
    }
    catch (const Exception& e)
    {
        VLOG(21) << "Cought exception while decoding header: " << boost::diagnostic_information(e);
        return false;
    }
}

bool EqualMPEG4(const MPEG4_Config& a, const MPEG4_Config& b)
{
    return a.profile == b.profile && a.level == b.level && a.visual_object_verid == b.visual_object_verid &&
           a.visual_object_priority == b.visual_object_priority;
}

bool EqualWMV2(const WMV2_Config& a, const WMV2_Config& b)
{
    // all that the pictures' syntax depends on; frame rate and bit rate may differ
    const auto tools = [](const WMV2_Config& c)
    {
        return std::make_tuple(c.mspel_bit, c.loop_filter, c.abt_flag, c.j_type_bit, c.top_left_mv_flag,
                               c.per_mb_rl_bit, c.code);
    };
    return tools(a) == tools(b);
}

bool EqualTheora(const Theora_Config& a, const Theora_Config& b)
{
    return a.EqualTo(b);
}

/// All that a decoder needs stands in the packets: in each picture, or before key pictures (the sequence header of
/// MPEG-1 and MPEG-2).
bool NeedsNoHeader(const std::string& codec)
{
    return codec == Video::CODEC_ID_VP8 || codec == Video::CODEC_ID_VP9 || codec == Video::CODEC_ID_H263 ||
           codec == Video::CODEC_ID_MPEG1VIDEO || codec == Video::CODEC_ID_MPEG2VIDEO;
}

} // namespace

bool CheckFormatCompatibility(const Conf::IFormatCodec& sourceFormat, const Conf::IFormatCodec& encoderFormat)
{
    const std::string codec = sourceFormat.GetCodecID();
    if (NeedsNoHeader(codec))
        return true;
    const SP<const IBlob> sourceExtradata = sourceFormat.GetExtradata();
    const SP<const IBlob> encoderExtradata = encoderFormat.GetExtradata();
    const HeaderBytes source(sourceExtradata);
    const HeaderBytes encoder(encoderExtradata);
    if (!source.Exist() || !encoder.Exist())
        return false;
    if (codec == Video::CODEC_ID_H264)
        return CompareH264(source, encoder);
    if (codec == Video::CODEC_ID_MPEG4)
        return Compare(source, encoder, DecodeMPEG4Config, EqualMPEG4);
    if (codec == Video::CODEC_ID_WMV2)
        return Compare(source, encoder, DecodeWMV2Config, EqualWMV2);
    if (codec == Video::CODEC_ID_THEORA)
        return Compare(source, encoder, DecodeTheoraConfig, EqualTheora);
    return false;
}

} // namespace Tessor::Proc
