#include "Proc/Filters/Filters/Cutting/RecodeSettings.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/MpegProfiles.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "media/formats/IFormatCodecVideo.h"

#include <glog/logging.h>
#include <limits>
#include <sstream>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;
using namespace CodecParsers;

void SearchStreamSettings(const SP<IStreamRaw>& source, StreamSettings& settings)
{
    settings = StreamSettings();
    avTime lastKeyPts = NoTime;
    for (int keyCount = 0; keyCount <= 2;)
    {
        const SP<IDataPacket> packet = source->Read();
        if (!packet)
            return;
        const avTime pts = packet->GetPTS();
        const avTime dts = packet->GetDTS();
        VLOG(31) << "Search for stream settings: pts: " << T2S(pts) << ", dts: " << T2S(dts)
                 << ", dur: " << T2S(packet->GetDuration()) << (packet->IsKeyFrame() ? " (key)" : "");
        settings.invalidPts = pts == NoTime;
        if (settings.invalidPts)
            return;
        if (lastKeyPts != NoTime && pts < lastKeyPts)
            settings.openGop = true;
        if (!packet->IsKeyFrame())
            continue;
        lastKeyPts = pts;
        if (keyCount > 0 && settings.dtsShift == 0 && dts != NoTime)
            settings.dtsShift = SubTime(pts, dts);
        ++keyCount;
    }
}

namespace
{

// Decodes into the records; a fault is logged, and what was decoded before it stays.
template <class Decode>
bool TryToDecode(const char* header, const Decode& decode)
{
    try
    {
        decode();
        return true;
    }
    catch (const Exception& e)
    {
        VLOG(31) << "Cought exception while decoding " << header << " header: " << boost::diagnostic_information(e);
        return false;
    }
}

void MultiplyBitRate(const std::string& codec, Core::Property& recodeFormat, bool hasDtsShift)
{
    if (!recodeFormat.ChildExists(Video::TAG_BITRATE))
        return;
    const long long factor = hasDtsShift || codec == Video::CODEC_ID_MPEG1VIDEO ? 3 : 2;
    const long long bitRate = recodeFormat[Video::TAG_BITRATE].GetInt64();
    // a rate that a container made up must not leave 64 bits
    const long long limit = std::numeric_limits<long long>::max() / factor;
    recodeFormat[Video::TAG_BITRATE] = std::clamp(bitRate, -limit, limit) * factor;
}

// The codec options of the source, to which an encoder's are added.
Core::Property CopyOptions(const Conf::IFormatCodec& sourceFormat)
{
    const Core::Property& format = sourceFormat.GetProperties();
    return format.ChildExists(Video::TAG_CODEC_OPTIONS_ENCODE) ? format[Video::TAG_CODEC_OPTIONS_ENCODE]
                                                               : Core::Property(Video::TAG_CODEC_OPTIONS_ENCODE);
}

// In place of those there are: a second child of the name would never be found.
void StoreOptions(const Core::Property& options, Core::Property& recodeFormat)
{
    recodeFormat.RemoveChild(Video::TAG_CODEC_OPTIONS_ENCODE);
    recodeFormat.Add(options);
}

void StoreProfile(const Conf::IFormatCodec& sourceFormat, Core::Property& recodeFormat, const std::string& profile,
                  long long level)
{
    Core::Property options = CopyOptions(sourceFormat);
    options.SetChildT(Video::TAG_PROFILE, profile);
    options.SetChildT(Video::TAG_PROFILE_LEVEL, level);
    StoreOptions(options, recodeFormat);
}

// profile_idc as in ITU-T H.264, A.2. Other profiles say by constraint flags which of these their pictures conform to.
std::string GetH264Profile(const SPS_decoded& sps)
{
    switch (sps.profile_idc)
    {
    case 66:
        return Video::TAG_X264_PROFILE_BASELINE;
    case 77:
        return Video::TAG_X264_PROFILE_MAIN;
    case 88:
        return Video::TAG_X264_PROFILE_EXTENDED;
    case 100:
        return Video::TAG_X264_PROFILE_HIGH;
    }
    return sps.constraint_set0_flag   ? Video::TAG_X264_PROFILE_BASELINE
           : sps.constraint_set1_flag ? Video::TAG_X264_PROFILE_MAIN
           : sps.constraint_set2_flag ? Video::TAG_X264_PROFILE_EXTENDED
           : sps.constraint_set3_flag ? Video::TAG_X264_PROFILE_HIGH
                                      : Video::TAG_X264_PROFILE_MAIN;
}

std::string GetX264Options(const SPS_decoded& sps, const PPS_decoded& pps, uint32_t psId)
{
    std::ostringstream options;
    options << "x264opts;sps-id=" << psId;
    if (sps.max_num_ref_frames != 0)
        options << ":ref=" << sps.max_num_ref_frames;
    options << ":qp=" << int64_t(pps.pic_init_qp_minus26) + 26;
    options << ":chroma-qp-offset=" << int64_t(pps.chroma_qp_index_offset) + 3;
    if (!pps.entropy_coding_mode_flag)
        options << ":no-cabac";
    options << ":weightp=" << (pps.weighted_pred_flag ? 2 : 0);
    return options.str();
}

void RecoverH264(const Conf::IFormatCodec& sourceFormat, const HeaderBytes& header, Core::Property& recodeFormat,
                 uint32_t psId)
{
    SPS_decoded sps;
    PPS_decoded pps;
    TryToDecode("h264",
                [&]
                {
                    DecodePPS(header.data, header.size, pps);
                    DecodeSPS(header.data, header.size, sps);
                });
    Core::Property options = CopyOptions(sourceFormat);
    options.SetChildT(Video::TAG_PROFILE, GetH264Profile(sps));
    options.SetChildT(Video::TAG_FF_SPECIAL_OPTS, GetX264Options(sps, pps, psId));
    options.SetChildT(Video::TAG_H264_ENTROPY_MODE,
                      pps.entropy_coding_mode_flag ? Video::TAG_H264_ENTROPY_CABAC : Video::TAG_H264_ENTROPY_CAVLC);
    StoreOptions(options, recodeFormat);
}

void RecoverMPEG4(const Conf::IFormatCodec& sourceFormat, const HeaderBytes& header, Core::Property& recodeFormat)
{
    MPEG4_Config config;
    if (!TryToDecode("MPEG-4", [&] { DecodeMPEG4Config(header.data, header.size, config); }))
        return;
    StoreProfile(sourceFormat, recodeFormat, GetMPEG4Profiles().at(config.profile), config.level);
}

std::string GetMPEG2Profile(const MPEG2_Config& config)
{
    if (config.bit_rate_extension != 0)
        return Video::TAG_MPEG2_PROFILE_422;
    if (config.profile >= 1 && config.profile < GetMPEG2Profiles().size())
        return GetMPEG2Profiles()[config.profile];
    return Video::TAG_MPEG2_PROFILE_SIMPLE;
}

void RecoverMPEG2(const Conf::IFormatCodec& sourceFormat, const HeaderBytes& header, Core::Property& recodeFormat)
{
    // No packet of an encoder is compared with this header: what is wrong with it ends the search.
    MPEG2_Config config;
    DecodeMPEG2Config(header.data, GetMPEG2ConfigSize(header.data, header.size), config);
    StoreProfile(sourceFormat, recodeFormat, GetMPEG2Profile(config), config.level);
}

void RecoverWMV2(const HeaderBytes& header, Core::Property& recodeFormat)
{
    WMV2_Config config;
    if (TryToDecode("WMV2", [&] { DecodeWMV2Config(header.data, header.size, config); }))
        recodeFormat.SetChildT(Video::TAG_FPS, Core::Property::Ratio(config.frameRate, 1));
}

} // namespace

void TryToRecoverAdditionalSettings(const Conf::IFormatCodec& sourceFormat, Core::Property& recodeFormat, uint32_t psId,
                                    bool hasDtsShift)
{
    const std::string codec = sourceFormat.GetCodecID();
    MultiplyBitRate(codec, recodeFormat, hasDtsShift);
    const SP<const IBlob> extradata = sourceFormat.GetExtradata();
    const HeaderBytes header(extradata);
    if (!header.Exist())
        return;
    if (codec == Video::CODEC_ID_H264)
        RecoverH264(sourceFormat, header, recodeFormat, psId);
    else if (codec == Video::CODEC_ID_MPEG4)
        RecoverMPEG4(sourceFormat, header, recodeFormat);
    else if (codec == Video::CODEC_ID_MPEG2VIDEO)
        RecoverMPEG2(sourceFormat, header, recodeFormat);
    else if (codec == Video::CODEC_ID_WMV2)
        RecoverWMV2(header, recodeFormat);
}

} // namespace Tessor::Proc
