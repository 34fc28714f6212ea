#include "Fnd/DataBitOutput.h"
#include "Fnd/DataOutputString.h"
#include "Proc/CodecParsers/AACCodecParser.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "media/BlobFF.h"

#include <gtest/gtest.h>
#include <memory>
#include <random>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
}

// 10,000 headers of each codec, as unlike each other as libavcodec bears them, through its parsers and ours.
namespace Tessor::Test
{

using namespace Proc::CodecParsers;

namespace
{

constexpr int Rounds = 10000;

/// Writes syntax elements; a unit comes out with its start code and emulation prevention bytes.
class Syntax
{
public:
    Syntax& U(unsigned bits, uint32_t value)
    {
        output.WriteBits(value, bits);
        return *this;
    }
    Syntax& UE(uint32_t value)
    {
        unsigned bits = 1;
        while ((value + 1) >> bits != 0)
            ++bits;
        return U(bits - 1, 0).U(bits, value + 1);
    }
    std::string Finish()
    {
        output.Flush();
        return bytes->GetString();
    }
    std::string Unit()
    {
        std::string unit("\0\0\0\1", 4);
        int zeros = 0;
        for (const char byte : U(1, 1).Finish())
        {
            if (zeros >= 2 && static_cast<uint8_t>(byte) <= 3)
                unit += '\3', zeros = 0;
            zeros = byte == 0 ? zeros + 1 : 0;
            unit += byte;
        }
        return unit;
    }

private:
    const SP<Core::DataOutputString> bytes = Core::DataOutputString::Create();
    Core::DataBitOutput output{bytes};
};

const uint8_t* Data(const std::string& text)
{
    return reinterpret_cast<const uint8_t*>(text.data());
}

/// libavcodec's parser behind one packet.
struct Reference
{
    Reference(AVCodecID codec, std::string packet)
        : parser(av_parser_init(codec), av_parser_close),
          context(avcodec_alloc_context3(nullptr), [](AVCodecContext* c) { avcodec_free_context(&c); })
    {
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
        const int size = static_cast<int>(packet.size());
        packet.append(AV_INPUT_BUFFER_PADDING_SIZE, '\0');
        uint8_t* out = nullptr;
        int outSize = 0;
        av_parser_parse2(parser.get(), context.get(), &out, &outSize, Data(packet), size, 0, 0, 0);
    }

    const std::shared_ptr<AVCodecParserContext> parser;
    const std::shared_ptr<AVCodecContext> context;
};

class LibavcodecAgreement : public testing::Test
{
protected:
    LibavcodecAgreement() { av_log_set_level(AV_LOG_QUIET); }
    /// 0 to `last`.
    uint32_t Draw(uint32_t last) { return random() % (last + 1); }
    template <class T>
    T Pick(std::initializer_list<T> values)
    {
        return *(values.begin() + Draw(static_cast<uint32_t>(values.size()) - 1));
    }

    std::mt19937 random{2024};
};

} // namespace

TEST_F(LibavcodecAgreement, H264)
{
    for (int round = 0; round < Rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const uint32_t profile = Pick({66u, 77u, 88u, 100u, 110u, 122u, 244u}), id = Draw(31), depth = Draw(2);
        const uint32_t level = Pick({9u, 10u, 11u, 21u, 31u, 40u, 42u, 51u, 62u});
        Syntax sps;
        sps.U(8, 0x67).U(8, profile).U(8, Draw(63) << 2).U(8, level).UE(id);
        uint32_t chroma = 1;
        if (profile >= 100)
        {
            chroma = profile == 244 ? 3 : profile == 122 ? 2 : Draw(1);
            sps.UE(chroma);
            if (chroma == 3)
                sps.U(1, 0); // separate planes
            sps.UE(depth).UE(depth).U(2, 0);
        }
        const uint32_t frames = Draw(1);
        sps.UE(Draw(12)).UE(0).UE(Draw(12)).UE(Draw(16)).U(1, Draw(1)); // orders, references
        sps.UE(3 + Draw(200)).UE(3 + Draw(130)).U(1, frames);
        if (!frames)
            sps.U(1, Draw(1));
        sps.U(1, frames ? Draw(1) : 1).U(1, 1).UE(Draw(3)).UE(Draw(3)).UE(Draw(3)).UE(Draw(3)).U(1, 0);
        Syntax pps;
        pps.U(8, 0x68).UE(5).UE(id).U(2, 0).UE(0).UE(0).UE(0).U(3, 0).UE(0).UE(0).UE(0).U(3, 0);
        Syntax slice;
        slice.U(8, 0x65).UE(0).UE(7).UE(5).U(32, random()).U(32, random()).U(32, random());
        const std::string header = sps.Unit() + pps.Unit();
        const Reference reference(AV_CODEC_ID_H264, header + slice.Unit());
        SPS_decoded read;
        DecodeSPS(Data(header), header.size(), read);
        EXPECT_EQ(reference.context->profile & 0xFF, read.profile_idc);
        EXPECT_EQ(reference.context->level, read.level_idc);
        EXPECT_EQ(reference.parser->width, static_cast<int>(read.GetVisibleSize().first));
        EXPECT_EQ(reference.parser->height, static_cast<int>(read.GetVisibleSize().second));
        EXPECT_EQ(read.chroma_format_idc, chroma);
    }
}

TEST_F(LibavcodecAgreement, HEVC)
{
    for (int round = 0; round < Rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const uint32_t layers = Draw(6), vpsId = Draw(15), spsId = Draw(15), profile = 1 + Draw(8);
        const uint32_t level = 30 * (1 + Draw(5)) + 3 * Draw(2), all = Draw(1), reorder = Draw(5);
        const uint32_t sublevels = Draw((1u << 2 * layers) - 1);
        const auto tiers = [&](Syntax& to)
        {
            to.U(2, 0).U(1, Draw(1)).U(5, profile).U(32, random()).U(32, random()).U(16, random() & 0xFFFF).U(8, level);
            for (uint32_t i = 0; i < layers; ++i)
                to.U(2, sublevels >> 2 * i & 3);
            for (uint32_t i = layers; i > 0 && i < 8; ++i)
                to.U(2, 0);
            for (uint32_t i = 0; i < layers; ++i)
            {
                if (sublevels >> 2 * i & 2)
                    to.U(32, 0).U(32, 0).U(24, 0);
                if (sublevels >> 2 * i & 1)
                    to.U(8, 30);
            }
        };
        const auto ordering = [&](Syntax& to)
        {
            to.U(1, all);
            for (uint32_t i = all ? 0 : layers; i <= layers; ++i)
                to.UE(8).UE(reorder).UE(0);
        };
        Syntax vps;
        vps.U(16, 0x4001).U(4, vpsId).U(2, 3).U(6, 0).U(3, layers).U(1, 1).U(16, 0xFFFF);
        tiers(vps);
        ordering(vps);
        vps.U(6, 0).UE(0).U(2, 0);
        Syntax sps;
        sps.U(16, 0x4201).U(4, vpsId).U(3, layers).U(1, 1);
        tiers(sps);
        const uint32_t chroma = Draw(3), depth = Pick({0u, 2u, 4u});
        sps.UE(spsId).UE(chroma);
        if (chroma == 3)
            sps.U(1, 0);
        sps.UE(8 * (8 + Draw(200))).UE(8 * (8 + Draw(130))).U(1, 1).UE(Draw(5)).UE(Draw(5)).UE(Draw(5)).UE(Draw(5));
        sps.UE(depth).UE(depth).UE(4);
        ordering(sps);
        sps.UE(0).UE(3).UE(0).UE(3).UE(0).UE(0).U(4, 0).UE(0).U(5, 0); // blocks, tools, no VUI
        Syntax pps;
        pps.U(16, 0x4401).UE(3).UE(spsId).U(7, 0).UE(0).UE(0).UE(0).U(3, 0).UE(0).UE(0).U(10, 0).UE(0).U(2, 0);
        Syntax slice;
        slice.U(16, 0x2601).U(2, 2).UE(3).UE(2).U(32, 0xA5A5A5A5).U(32, 0xA5A5A5A5);
        const std::string header = vps.Unit() + sps.Unit() + pps.Unit();
        const Reference reference(AV_CODEC_ID_HEVC, header + slice.Unit());
        HEVC_SPS read;
        HEVCDecodeSPS(Data(header), header.size(), read);
        HEVC_VPS readVps;
        HEVCDecodeVPS(Data(header), header.size(), readVps);
        EXPECT_EQ(reference.context->profile, read.profile_tier_level.general_profile_idc);
        EXPECT_EQ(reference.context->level, read.profile_tier_level.general_level_idc);
        EXPECT_EQ(reference.parser->width, static_cast<int>(read.GetVisibleSize().first));
        EXPECT_EQ(reference.parser->height, static_cast<int>(read.GetVisibleSize().second));
        EXPECT_EQ(read.ComputeReorderWindow(), reorder);
        EXPECT_EQ(readVps.ComputeReorderWindow(), reorder);
    }
}

// Its conversion of ADTS writes the configuration that ours does, element by element of a PCE.
TEST_F(LibavcodecAgreement, AAC)
{
    for (int round = 0; round < Rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const uint32_t unchecked = Draw(1), channels = Draw(7), payload = 1 + Draw(40), comment = Draw(9);
        Syntax body;
        if (channels == 0)
        {
            const uint32_t front = Draw(3), side = Draw(3), back = Draw(3), lfe = Draw(2), coupling = Draw(2);
            body.U(3, 5).U(10, random() & 0x3FF).U(4, front).U(4, side).U(4, back).U(2, lfe).U(3, 0).U(4, coupling);
            for (const unsigned bits : {4, 4, 3}) // mixdowns
            {
                const uint32_t present = Draw(1);
                body.U(1, present).U(present ? bits : 0, 0);
            }
            for (uint32_t i = 0; i < front + side + back + coupling; ++i)
                body.U(5, Draw(31));
            for (uint32_t i = 0; i < lfe; ++i)
                body.U(4, Draw(15));
        }
        std::string element = body.Finish();
        if (channels == 0)
            element += static_cast<char>(comment) + std::string(comment, 'c');
        element.append(payload, 'p');
        const size_t length = 7 + (unchecked ? 0 : 2) + element.size();
        Syntax head;
        head.U(15, 0x7FF8).U(1, unchecked).U(2, Draw(3)).U(4, Draw(12)).U(1, 0).U(3, channels).U(4, 0);
        head.U(13, static_cast<uint32_t>(length)).U(11, 0x7FF).U(2, 0).U(unchecked ? 0 : 16, 0);
        const std::string frame = head.Finish() + element;

        const ADTSHeader header = DataToADTSHeader(Data(frame), frame.size());
        const Reference reference(AV_CODEC_ID_AAC, frame);
        EXPECT_EQ(reference.context->sample_rate, static_cast<int>(header.sampleRate));
        const AVBitStreamFilter* filter = av_bsf_get_by_name("aac_adtstoasc");
        AVBSFContext* bsf = nullptr;
        ASSERT_EQ(av_bsf_alloc(filter, &bsf), 0);
        bsf->par_in->codec_id = AV_CODEC_ID_AAC;
        ASSERT_EQ(av_bsf_init(bsf), 0);
        AVPacket* packet = av_packet_alloc();
        ASSERT_EQ(av_new_packet(packet, static_cast<int>(frame.size())), 0);
        std::copy(frame.begin(), frame.end(), packet->data);
        ASSERT_EQ(av_bsf_send_packet(bsf, packet), 0);
        ASSERT_EQ(av_bsf_receive_packet(bsf, packet), 0);
        size_t size = 0;
        const uint8_t* config = av_packet_get_side_data(packet, AV_PKT_DATA_NEW_EXTRADATA, &size);
        ASSERT_TRUE(config);
        const SP<const Proc::IBlob> ours = ADTSHeaderToASCExtradata(Proc::BlobFF::Create(Data(frame), frame.size()));
        EXPECT_EQ(std::string(config, config + size), std::string(ours->Data(), ours->Data() + ours->Size()));
        EXPECT_EQ(GetADTSHeaderSize(Data(frame), frame.size()) + static_cast<size_t>(packet->size), frame.size());
        const AudioSpecificConfig read = DataToAudioSpecificConfig(config, size);
        EXPECT_EQ(read.sampleRate, header.sampleRate);
        EXPECT_EQ(read.objectType, header.objectType);
        EXPECT_EQ(read.channelConfiguration, channels);
        av_packet_free(&packet);
        av_bsf_free(&bsf);
    }
}

} // namespace Tessor::Test
