#pragma once

#include "media/formats/FrameInfo.h"
#include "media/formats/IFormatCodec.h"
#include "media/formats/PixFmt.h"

namespace Tessor::Conf
{

/// The format of a video stream.
class TESSOR_API IFormatCodecVideo : public virtual IFormatCodec
{
public:
    inline static const std::string TAG_WIDTH = "Width";                   ///< int64, pixels
    inline static const std::string TAG_HEIGHT = "Height";                 ///< int64, pixels
    inline static const std::string TAG_FPS = "FPS";                       ///< ratio, frames per second
    inline static const std::string TAG_IMAGE_FLAG = "ImageFlag";          ///< bool, a still picture
    inline static const std::string TAG_CUT_ANYWHERE = "CutAnywhere";      ///< bool, cuts are frame-exact
    inline static const std::string TAG_PROFILE_LEVEL = "ProfileLevel";    ///< int64
    inline static const std::string TAG_FF_SPECIAL_OPTS = "FFSpecialOpts"; ///< string, "name;value"
    inline static const std::string TAG_H264_ENTROPY_MODE = "EntropyMode"; ///< string
    inline static const std::string TAG_H264_ENTROPY_CABAC = "CABAC";
    inline static const std::string TAG_H264_ENTROPY_CAVLC = "CAVLC";
    inline static const std::string TAG_PIXEL_FORMAT = "PixelFormat"; ///< int64, PixFmt
    inline static const std::string TAG_ASPECT = "SampleAspect";      ///< ratio, of a pixel

    inline static const std::string CODEC_ID_H263 = "h263";
    inline static const std::string CODEC_ID_H264 = "h264";
    inline static const std::string CODEC_ID_H265 = "h265";
    inline static const std::string CODEC_ID_MPEG1VIDEO = "mpeg1video";
    inline static const std::string CODEC_ID_MPEG2VIDEO = "mpeg2video";
    inline static const std::string CODEC_ID_MPEG4 = "mpeg4";
    inline static const std::string CODEC_ID_THEORA = "theora";
    inline static const std::string CODEC_ID_VP8 = "vp8";
    inline static const std::string CODEC_ID_VP9 = "vp9";
    inline static const std::string CODEC_ID_WMV2 = "wmv2";

    inline static const std::string TAG_X264_PROFILE_BASELINE = "baseline";
    inline static const std::string TAG_X264_PROFILE_MAIN = "main";
    inline static const std::string TAG_X264_PROFILE_HIGH = "high";
    inline static const std::string TAG_X264_PROFILE_HIGH10 = "high10";
    inline static const std::string TAG_X264_PROFILE_HIGH422 = "high422";
    inline static const std::string TAG_X264_PROFILE_HIGH444 = "high444";
    inline static const std::string TAG_X264_PROFILE_EXTENDED = "extended";

    inline static const std::string TAG_MPEG2_PROFILE_SIMPLE = "mpeg2_simple";
    inline static const std::string TAG_MPEG2_PROFILE_MAIN = "mpeg2_main";
    inline static const std::string TAG_MPEG2_PROFILE_HIGH = "mpeg2_high";
    inline static const std::string TAG_MPEG2_PROFILE_422 = "mpeg2_422";
    inline static const std::string TAG_MPEG2_PROFILE_SS = "mpeg2_ss";
    inline static const std::string TAG_MPEG2_PROFILE_SNR_SCALABLE = "mpeg2_snr_scalable";

    inline static const std::string TAG_MPEG4_PROFILE_SIMPLE = "mpeg4_simple";
    inline static const std::string TAG_MPEG4_PROFILE_SIMPLE_SCALABLE = "mpeg4_simple_scalable";
    inline static const std::string TAG_MPEG4_PROFILE_CORE = "mpeg4_core";
    inline static const std::string TAG_MPEG4_PROFILE_MAIN = "mpeg4_main";
    inline static const std::string TAG_MPEG4_PROFILE_N_BIT = "mpeg4_n_bit";
    inline static const std::string TAG_MPEG4_PROFILE_HYBRID = "mpeg4_hybrid";
    inline static const std::string TAG_MPEG4_PROFILE_ADVANCED_CORE = "mpeg4_advanced_core";
    inline static const std::string TAG_MPEG4_PROFILE_CORE_SCALABLE = "mpeg4_core_scalable";
    inline static const std::string TAG_MPEG4_PROFILE_SIMPLE_STUDIO = "mpeg4_simple_studio";
    inline static const std::string TAG_MPEG4_PROFILE_ADVANCED_CODING = "mpeg4_advanced_coding";
    inline static const std::string TAG_MPEG4_PROFILE_ADVANCED_SIMPLE = "mpeg4_advanced_simple";
    inline static const std::string TAG_MPEG4_PROFILE_SCALABLE_TEXTURE = "mpeg4_scalable_texture";
    inline static const std::string TAG_MPEG4_PROFILE_ADVANCED_REAL_TIME = "mpeg4_advanced_real_time";
    inline static const std::string TAG_MPEG4_PROFILE_SIMPLE_FACE_ANIMATION = "mpeg4_simple_face_animation";
    inline static const std::string TAG_MPEG4_PROFILE_BASIC_ANIMATED_TEXTURE = "mpeg4_basic_animated_texture";
    inline static const std::string TAG_MPEG4_PROFILE_ADVANCED_SCALABLE_TEXTURE = "mpeg4_advanced_scalable_texture";

    static SP<IFormatCodecVideo> Create();
    SP<IFormatCodecVideo> Clone() const { return SP<IFormatCodecVideo>(CloneInternal()); }

    virtual FrameInfo GetFrameInfo() const = 0;
    virtual PixFmt GetPixelFormat() const = 0;
    virtual void SetPixelFormat(PixFmt format) = 0;
    /// Frames per second as num over den; 0 for either unsets it.
    virtual void SetFrameRate(unsigned num, unsigned den) = 0;
    /// Sets size and sample aspect.
    virtual void InitByPixelAspect(unsigned width, unsigned height, unsigned aspectNum, unsigned aspectDen) = 0;

private:
    IFormatCodecVideo* CloneInternal() const override = 0;
};

} // namespace Tessor::Conf
