#include "Proc/CodecParsers/MpegProfiles.h"

#include "media/formats/IFormatCodecVideo.h"

namespace Tessor::Proc::CodecParsers
{

using Video = Conf::IFormatCodecVideo;

const std::vector<std::string>& GetMPEG2Profiles()
{
    static const std::vector<std::string> profiles = {
        Video::TAG_MPEG2_PROFILE_422,          Video::TAG_MPEG2_PROFILE_HIGH, Video::TAG_MPEG2_PROFILE_SS,
        Video::TAG_MPEG2_PROFILE_SNR_SCALABLE, Video::TAG_MPEG2_PROFILE_MAIN, Video::TAG_MPEG2_PROFILE_SIMPLE,
    };
    return profiles;
}

const std::vector<std::string>& GetMPEG4Profiles()
{
    static const std::vector<std::string> profiles = {
        Video::TAG_MPEG4_PROFILE_SIMPLE,
        Video::TAG_MPEG4_PROFILE_SIMPLE_SCALABLE,
        Video::TAG_MPEG4_PROFILE_CORE,
        Video::TAG_MPEG4_PROFILE_MAIN,
        Video::TAG_MPEG4_PROFILE_N_BIT,
        Video::TAG_MPEG4_PROFILE_SCALABLE_TEXTURE,
        Video::TAG_MPEG4_PROFILE_SIMPLE_FACE_ANIMATION,
        Video::TAG_MPEG4_PROFILE_BASIC_ANIMATED_TEXTURE,
        Video::TAG_MPEG4_PROFILE_HYBRID,
        Video::TAG_MPEG4_PROFILE_ADVANCED_REAL_TIME,
        Video::TAG_MPEG4_PROFILE_CORE_SCALABLE,
        Video::TAG_MPEG4_PROFILE_ADVANCED_CODING,
        Video::TAG_MPEG4_PROFILE_ADVANCED_CORE,
        Video::TAG_MPEG4_PROFILE_ADVANCED_SCALABLE_TEXTURE,
        Video::TAG_MPEG4_PROFILE_SIMPLE_STUDIO,
        Video::TAG_MPEG4_PROFILE_ADVANCED_SIMPLE,
    };
    return profiles;
}

} // namespace Tessor::Proc::CodecParsers
