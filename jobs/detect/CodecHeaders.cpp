#include "jobs/detect/CodecHeaders.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/AACCodecParser.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"

#include <concepts>
#include <functional>
#include <map>
#include <type_traits>

namespace Tessor::Jobs
{

namespace
{

namespace Parsers = Proc::CodecParsers;

/// A field of a header: a truth value, any whole number, or a text.
struct Field
{
    template <std::integral T>
    Field(const char* name, T value)
        : property(name, static_cast<std::conditional_t<std::is_same_v<T, bool>, bool, long long>>(value))
    {
    }
    Field(const char* name, const std::string& value) : property(name, value) {}

    Core::Property property;
};

/// A tree of them.
class Fields : public Core::Property
{
public:
    Fields(std::initializer_list<Field> fields) : Property(std::string())
    {
        for (const Field& field : fields)
            Add(field.property);
    }
};

Fields H264(const uint8_t* data, size_t size)
{
    Parsers::SPS_decoded sps;
    Parsers::PPS_decoded pps;
    Parsers::DecodeSPS(data, size, sps);
    Parsers::DecodePPS(data, size, pps);
    const auto [width, height] = sps.GetVisibleSize();
    return {{"nalu_length_size", Parsers::GetAvccNALULengthSize(data, size)},
            {"profile_idc", sps.profile_idc},
            {"level_idc", sps.level_idc},
            {"seq_parameter_set_id", sps.seq_parameter_set_id},
            {"chroma_format_idc", sps.chroma_format_idc},
            {"bit_depth_luma", sps.bit_depth_luma_minus8 + 8},
            {"pic_order_cnt_type", sps.pic_order_cnt_type},
            {"max_num_ref_frames", sps.max_num_ref_frames},
            {"frame_mbs_only_flag", sps.frame_mbs_only_flag},
            {"visible_width", width},
            {"visible_height", height},
            {"reorder_window", sps.ComputeReorderWindow()},
            {"pic_parameter_set_id", pps.pic_parameter_set_id},
            {"entropy_coding_mode_flag", pps.entropy_coding_mode_flag},
            {"weighted_pred_flag", pps.weighted_pred_flag},
            {"pic_init_qp_minus26", pps.pic_init_qp_minus26},
            {"chroma_qp_index_offset", pps.chroma_qp_index_offset}};
}

Fields HEVC(const uint8_t* data, size_t size)
{
    // the parsers of these sets take start codes alone
    const SP<const Proc::IBlob> units = Parsers::HEVC_Extradata_hvcCtoAnnexB(Proc::BlobFF::Create(data, size));
    Parsers::HEVC_VPS vps;
    Parsers::HEVC_SPS sps;
    Parsers::HEVCDecodeVPS(units->Data(), units->Size(), vps);
    Parsers::HEVCDecodeSPS(units->Data(), units->Size(), sps);
    const auto [width, height] = sps.GetVisibleSize();
    return {{"nalu_length_size", Parsers::GetHvccNALULengthSize(data, size)},
            {"vps_video_parameter_set_id", vps.vps_video_parameter_set_id},
            {"vps_max_sub_layers_minus1", vps.vps_max_sub_layers_minus1},
            {"general_profile_idc", sps.profile_tier_level.general_profile_idc},
            {"general_tier_flag", sps.profile_tier_level.general_tier_flag},
            {"general_level_idc", sps.profile_tier_level.general_level_idc},
            {"sps_seq_parameter_set_id", sps.sps_seq_parameter_set_id},
            {"chroma_format_idc", sps.chroma_format_idc},
            {"bit_depth_luma", sps.bit_depth_luma_minus8 + 8},
            {"bit_depth_chroma", sps.bit_depth_chroma_minus8 + 8},
            {"visible_width", width},
            {"visible_height", height},
            {"reorder_window", sps.ComputeReorderWindow()}};
}

Fields AAC(const uint8_t* data, size_t size)
{
    const bool adts = Parsers::HasADTSHeader(data, size);
    const Parsers::AudioSpecificConfig config = adts ? Parsers::ADTStoASC(Parsers::DataToADTSHeader(data, size))
                                                     : Parsers::DataToAudioSpecificConfig(data, size);
    return {{"adts", adts},
            {"audio_object_type", config.objectType},
            {"sampling_frequency_index", config.frequencyIndex},
            {"sampling_frequency", config.sampleRate},
            {"channel_configuration", config.channelConfiguration},
            {"program_config_element_bytes", config.pce ? config.pce->Size() : 0}};
}

Fields MPEG2(const uint8_t* data, size_t size)
{
    Parsers::MPEG2_Config config;
    Parsers::DecodeMPEG2Config(data, Parsers::GetMPEG2ConfigSize(data, size), config);
    // 12 bits in the sequence header, 2 above them in its extension (ISO/IEC 13818-2, 6.3.3 and 6.3.5)
    return {{"horizontal_size", config.horizontal_size_extension << 12 | config.horizontal_size_value},
            {"vertical_size", config.vertical_size_extension << 12 | config.vertical_size_value},
            {"aspect_ratio_information", config.aspect_ratio_information},
            {"frame_rate_code", config.frame_rate_code},
            // bit_rate counts in 400 bits a second (ISO/IEC 13818-2, 6.3.3)
            {"bit_rate", 400LL * config.bitRate},
            {"profile", config.profile},
            {"level", config.level},
            {"progressive_sequence", config.progressive_sequence},
            {"chroma_format", config.chroma_format},
            {"low_delay", config.low_delay}};
}

Fields MPEG4(const uint8_t* data, size_t size)
{
    Parsers::MPEG4_Config config;
    Parsers::DecodeMPEG4Config(data, size, config);
    return {{"profile", config.profile},
            {"level", config.level},
            {"visual_object_verid", config.visual_object_verid},
            {"visual_object_priority", config.visual_object_priority},
            {"vop_time_increment_resolution", config.vop_time_increment_resolution},
            {"fixed_vop_rate", config.fixed_vop_rate},
            {"video_object_layer_width", config.video_object_layer_width},
            {"video_object_layer_height", config.video_object_layer_height},
            {"interlaced", config.interlaced},
            {"quarter_sample", config.quarter_sample},
            {"low_delay", config.low_delay}};
}

Fields Theora(const uint8_t* data, size_t size)
{
    Parsers::Theora_Config config;
    Parsers::DecodeTheoraConfig(data, size, config);
    return {{"version", config.version},
            {"frame_width", config.frameWidth},
            {"frame_height", config.frameHeight},
            {"picture_width", config.pictureWidth},
            {"picture_height", config.pictureHeight},
            {"frame_rate_numerator", config.frameRateNum},
            {"frame_rate_denominator", config.frameRateDen},
            {"keyframe_granule_shift", config.keyframeGranuleShift},
            {"pixel_format", config.pixelFormat},
            {"quality", config.quality}};
}

Fields WMV2(const uint8_t* data, size_t size)
{
    Parsers::WMV2_Config config;
    Parsers::DecodeWMV2Config(data, size, config);
    return {{"frame_rate", config.frameRate},
            {"bit_rate", 1024LL * config.bitRate},
            {"mspel_bit", config.mspel_bit},
            {"loop_filter", config.loop_filter},
            {"abt_flag", config.abt_flag},
            {"j_type_bit", config.j_type_bit},
            {"top_left_mv_flag", config.top_left_mv_flag},
            {"per_mb_rl_bit", config.per_mb_rl_bit},
            {"code", config.code}};
}

} // namespace

Core::Property DescribeHeader(const Conf::IFormatCodec& format)
{
    using Audio = Conf::IFormatCodecAudio;
    using Video = Conf::IFormatCodecVideo;
    static const std::map<std::string, std::function<Fields(const uint8_t*, size_t)>> parsers = {
        {Audio::CODEC_ID_AAC, AAC},          {Video::CODEC_ID_H264, H264},        {Video::CODEC_ID_H265, HEVC},
        {Video::CODEC_ID_MPEG1VIDEO, MPEG2}, {Video::CODEC_ID_MPEG2VIDEO, MPEG2}, {Video::CODEC_ID_MPEG4, MPEG4},
        {Video::CODEC_ID_THEORA, Theora},    {Video::CODEC_ID_WMV2, WMV2},
    };
    const auto parser = parsers.find(format.GetCodecID());
    const SP<const Proc::IBlob> header = format.GetExtradata();
    if (parser == parsers.end() || !header || header->Size() == 0)
        return {};
    try
    {
        return parser->second(header->Data(), header->Size());
    }
    catch (const std::exception& e)
    {
        return Fields{{"error", Describe(e)}};
    }
}

} // namespace Tessor::Jobs
