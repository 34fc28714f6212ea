#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "tests/CodecParsers/ParameterSetWriter.h"
#include "tests/CodecParsers/RealClip.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

void DrawPTL(ParameterSetWriter& w, uint8_t maxSubLayersMinus1, HEVC_PTL& ptl)
{
    w.U(2, ptl.general_profile_space);
    w.Flags(ptl.general_tier_flag);
    w.U(5, ptl.general_profile_idc);
    for (uint8_t& flags : ptl.general_profile_compatibility_flags)
        w.U(8, flags);
    for (uint8_t& flags : ptl.general_constraint_indicator_flags)
        w.U(8, flags);
    w.U(8, ptl.general_level_idc);
    unsigned bytes = 0;
    for (unsigned i = 0; i < maxSubLayersMinus1; ++i)
        for (const unsigned size : {11u, 1u})
        {
            const uint32_t present = w.Draw(1);
            w.Put(1, present);
            bytes += present * size;
        }
    for (unsigned i = maxSubLayersMinus1; i > 0 && i < 8; ++i)
        w.Put(2, 0); // reserved
    for (; bytes > 0; --bytes)
        w.Put(8, w.Draw(255));
}

/// The sub-layer ordering block. Values of an eighth sub-layer are written and kept nowhere.
void DrawOrdering(ParameterSetWriter& w, uint8_t maxSubLayersMinus1, bool playable, HEVC_SubLayers& buffering,
                  HEVC_SubLayers& reorder, HEVC_SubLayers& latency)
{
    const uint32_t each = w.Draw(1);
    w.Put(1, each);
    for (size_t i = each ? 0 : maxSubLayersMinus1; i <= maxSubLayersMinus1; ++i)
    {
        uint8_t values[3] = {};
        w.UE(playable ? 15 : 255, values[0]);
        w.UE(playable ? values[0] : 255, values[1]);
        w.UE(255, values[2]);
        for (size_t to = each ? i : 0; to <= i && to < buffering.size(); ++to)
        {
            buffering[to] = values[0];
            reorder[to] = values[1];
            latency[to] = values[2];
        }
    }
}

/// A VPS and an SPS, drawn from all values that can be written, or from those of a stream that a decoder takes.
struct Header
{
    Header(std::mt19937& random, bool playable) : vpsUnit(DrawVPS(random, playable)), spsUnit(DrawSPS(random, playable))
    {
    }

    Bytes AnnexB() const { return WithStartCode(vpsUnit) + WithStartCode(spsUnit); }

    HEVC_VPS vps;
    HEVC_SPS sps;
    Bytes vpsUnit;
    Bytes spsUnit;

private:
    Bytes DrawVPS(std::mt19937& random, bool playable)
    {
        ParameterSetWriter w(random);
        w.Put(16, 0x4001);
        w.U(4, vps.vps_video_parameter_set_id);
        w.Put(8, playable ? 0xC0 : w.Draw(255));
        w.Put(3, vps.vps_max_sub_layers_minus1 = static_cast<uint8_t>(w.Draw(playable ? 6 : 7)));
        w.Flags(vps.vps_temporal_id_nesting_flag);
        w.Put(16, 0xFFFF);
        DrawPTL(w, vps.vps_max_sub_layers_minus1, vps.profile_tier_level);
        DrawOrdering(w, vps.vps_max_sub_layers_minus1, playable, vps.vps_max_dec_pic_buffering_minus1,
                     vps.vps_max_num_reorder_pics, vps.vps_max_latency_increase_plus1);
        w.U(6, vps.vps_max_layer_id);
        w.UE(playable ? 0 : 0xFFFFFFFE, vps.vps_num_layer_sets_minus1);
        w.Put(2, 0); // no timing, no extension
        return Escape(w.Finish());
    }

    Bytes DrawSPS(std::mt19937& random, bool playable)
    {
        ParameterSetWriter w(random);
        w.Put(16, 0x4201);
        w.Put(4, sps.sps_video_parameter_set_id = vps.vps_video_parameter_set_id);
        w.Put(3, sps.sps_max_sub_layers_minus1 = static_cast<uint8_t>(w.Draw(playable ? 6 : 7)));
        w.Flags(sps.sps_temporal_id_nesting_flag);
        DrawPTL(w, sps.sps_max_sub_layers_minus1, sps.profile_tier_level);
        w.UE(15, sps.sps_seq_parameter_set_id);
        w.UE(3, sps.chroma_format_idc);
        if (sps.chroma_format_idc == 3)
            w.Flags(sps.separate_colour_plane_flag);
        for (uint32_t* length : {&sps.pic_width_in_luma_samples, &sps.pic_height_in_luma_samples})
            w.PutUE(*length = playable ? 8 * (8 + w.Draw(1000)) : w.Draw(0xFFFFFFFE));
        const uint32_t window = w.Draw(1);
        w.Put(1, window);
        if (window)
            w.UE(playable ? 15 : 0xFFFFFFFE, sps.conf_win_left_offset, sps.conf_win_right_offset,
                 sps.conf_win_top_offset, sps.conf_win_bottom_offset);
        static const uint8_t playableDepths[] = {0, 1, 2, 4};
        w.PutUE(sps.bit_depth_luma_minus8 = playable ? playableDepths[w.Draw(3)] : static_cast<uint8_t>(w.Draw(8)));
        w.PutUE(sps.bit_depth_chroma_minus8 = playable ? sps.bit_depth_luma_minus8 : static_cast<uint8_t>(w.Draw(8)));
        w.UE(12, sps.log2_max_pic_order_cnt_lsb_minus4);
        DrawOrdering(w, sps.sps_max_sub_layers_minus1, playable, sps.sps_max_dec_pic_buffering_minus1,
                     sps.sps_max_num_reorder_pics, sps.sps_max_latency_increase_plus1);
        // What is not read here, in its plainest form: coding blocks of 8 to 16 samples, no tools, no VUI.
        for (const uint32_t value : {0u, 1u, 0u, 1u, 0u, 0u})
            w.PutUE(value);
        w.Put(10, 0x20);
        return Escape(w.Finish());
    }
};

/// What libavcodec's decoder learns from the header as extradata.
void CheckAgainstLibavcodec(const Header& header)
{
    const auto reference = OpenDecoder(AV_CODEC_ID_HEVC, header.AnnexB());
    const HEVC_SPS& sps = header.sps;
    const int profile = sps.profile_tier_level.general_profile_idc;
    EXPECT_TRUE(reference->profile == profile || profile == 0); // libavcodec looks for another one in place of 0
    EXPECT_EQ(reference->level, sps.profile_tier_level.general_level_idc);
    EXPECT_EQ(reference->width, static_cast<int>(sps.GetVisibleSize().first));
    EXPECT_EQ(reference->height, static_cast<int>(sps.GetVisibleSize().second));
    EXPECT_EQ(reference->has_b_frames, static_cast<int>(sps.ComputeReorderWindow()));
    const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(reference->pix_fmt);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->comp[0].depth, sps.bit_depth_luma_minus8 + 8);
    const uint8_t chroma = sps.separate_colour_plane_flag ? 0 : sps.chroma_format_idc;
    EXPECT_EQ(pixels->nb_components == 1, chroma == 0);
    EXPECT_EQ(pixels->log2_chroma_w, chroma == 1 || chroma == 2);
    EXPECT_EQ(pixels->log2_chroma_h, chroma == 1);
}

} // namespace

// 10,000 headers; every 25th one is such that libavcodec takes it.
TEST(HEVCParameterSets, RandomOnesComeBackAndAgreeWithLibavcodec)
{
    av_log_set_level(AV_LOG_QUIET);
    std::mt19937 random(21);
    HEVC_VPS vps; // kept over the rounds: each one has to reset them
    HEVC_SPS sps;
    for (int round = 0; round < 10000 && !testing::Test::HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const bool playable = round % 25 == 0;
        const Header header(random, playable);
        const Bytes annexB = header.AnnexB();
        HEVCDecodeVPS(annexB.data(), annexB.size(), vps);
        HEVCDecodeSPS(annexB.data(), annexB.size(), sps);
        ASSERT_TRUE(vps == header.vps) << ToHex(header.vpsUnit);
        ASSERT_TRUE(sps == header.sps) << ToHex(header.spsUnit);
        const SP<const IBlob> hvcc = HEVC_Extradata_AnnexBtoHvcC(MakeBlob(annexB));
        ASSERT_EQ(Payload(*HEVC_Extradata_hvcCtoAnnexB(hvcc)), annexB);
        if (playable)
            CheckAgainstLibavcodec(header);
    }
}

TEST(HEVCParameterSets, ReorderWindow)
{
    HEVC_VPS vps;
    HEVC_SPS sps;
    vps.vps_max_num_reorder_pics = sps.sps_max_num_reorder_pics = {1, 0, 3, 4, 5, 16, 255};
    // An eighth sub-layer counts as the seventh; 16 is the most.
    for (const auto& [maxSubLayersMinus1, window] : {std::pair(0, 1u), {1, 0u}, {5, 16u}, {6, 16u}, {7, 16u}})
    {
        vps.vps_max_sub_layers_minus1 = sps.sps_max_sub_layers_minus1 = static_cast<uint8_t>(maxSubLayersMinus1);
        EXPECT_EQ(vps.ComputeReorderWindow(), window);
        EXPECT_EQ(sps.ComputeReorderWindow(), window);
    }
}

TEST(HEVCParameterSets, WindowBiggerThanThePictureWraps)
{
    HEVC_SPS sps;
    sps.pic_width_in_luma_samples = sps.pic_height_in_luma_samples = sps.conf_win_left_offset = 1920;
    sps.conf_win_right_offset = 1;
    EXPECT_EQ(sps.GetVisibleSize(), std::pair(0xFFFFFFFFu, 1920u));
}
