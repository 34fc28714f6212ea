#include "ffhost/io/H264EntryRepair.h"

#include "Proc/CodecParsers/H264CodecParser.h"
#include "ffhost/io/H264RecoveryPoints.h"
#include "media/BlobFF.h"
#include "media/DataPacketFF.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <gtest/gtest.h>

#include <random>

namespace Tessor::Host::Tests
{

// inside of tests, the name alone means that of the test framework's class
namespace Tools = Tessor::Test;
using Tools::Bytes;
using Tools::Escape;
using Writer = Tools::ParameterSetWriter;

namespace
{

/// The tools of a built stream. It holds two references, frame_num has 4 bits and the picture order count 8.
struct Stream
{
    const char* name;
    bool cabac = true, interlaced = false, prefixed = false;
};

/// What is written of a picture.
struct Picture
{
    char type = 'P'; // D: an IDR picture
    uint32_t frameNum = 0, order = 0;
    std::vector<uint32_t> unmarked = {}; // difference_of_pic_nums_minus1; adaptive marking when there are any
    bool adaptive = false;               // without any
    bool reference = true, field = false, entered = false;
    uint32_t parameterSet = 0;
};

void Append(Bytes& bytes, const Bytes& unit, bool prefixed)
{
    const size_t number = prefixed ? unit.size() : 1;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(number >> shift));
    bytes.insert(bytes.end(), unit.begin(), unit.end());
}

std::mt19937 unused;

/// Parameter sets 0, and those that re-encoded groups would use: order counts of 6 bits instead of 8.
SP<const Proc::IBlob> MakeHeader(const Stream& stream)
{
    Bytes header;
    for (const uint32_t id : {0, 1})
    {
        Writer sps(unused);
        for (const uint32_t byte : {0x67, 77, 0, 30})
            sps.Put(8, byte);
        for (const uint32_t value : {id, 0u, 0u, id == 0 ? 4u : 2u, 2u}) // frame_num, order type and bits, references
            sps.PutUE(value);
        sps.Put(1, 0);
        sps.PutUE(10);
        sps.PutUE(10);
        sps.Put(stream.interlaced ? 2 : 1, 1); // frame_mbs_only_flag, or none and macroblocks that adapt
        sps.Put(3, 4);
        Writer pps(unused);
        pps.Put(8, 0x68);
        pps.PutUE(id);
        pps.PutUE(id);
        pps.Put(2, stream.cabac ? 2 : 0);
        for (int i = 0; i < 3; ++i)
            pps.PutUE(0);
        pps.Put(3, 0);
        for (int i = 0; i < 3; ++i)
            pps.PutSE(0);
        pps.Put(3, 4); // deblocking is told
        Append(header, Escape(sps.Finish()), false);
        Append(header, Escape(pps.Finish()), false);
    }
    const SP<const Proc::IBlob> blob = Proc::BlobFF::Create(header.data(), header.size());
    return stream.prefixed ? Proc::CodecParsers::H264_Extradata_AnnexBtoMp4(blob) : blob;
}

void WriteMarking(Writer& w, const Picture& picture)
{
    if (!picture.reference)
        return;
    if (picture.type == 'D')
        return w.Put(2, 0);
    const bool adaptive = picture.adaptive || !picture.unmarked.empty();
    w.Put(1, adaptive);
    for (const uint32_t difference : picture.unmarked)
    {
        w.PutUE(1);
        w.PutUE(difference);
    }
    if (adaptive)
        w.PutUE(0);
}

Bytes MakeSlice(const Stream& stream, const Picture& picture, uint32_t firstBlock)
{
    Writer w(unused);
    w.Put(8, picture.type == 'D' ? 0x65 : picture.reference ? 0x41 : 0x01);
    w.PutUE(firstBlock);
    w.PutUE(picture.type == 'P' ? 0 : picture.type == 'B' ? 1 : 2);
    w.PutUE(picture.parameterSet);
    w.Put(4, picture.frameNum);
    if (stream.interlaced)
        w.Put(picture.field ? 2 : 1, picture.field ? 2 : 0);
    if (picture.type == 'D')
        w.PutUE(3);
    w.Put(picture.parameterSet == 0 ? 8 : 6, picture.order);
    if (picture.type == 'B')
        w.Put(4, 8);
    if (picture.type == 'P')
        w.Put(2, 0);
    WriteMarking(w, picture);
    const bool inter = picture.type == 'P' || picture.type == 'B';
    if (stream.cabac && inter)
        w.PutUE(0);
    w.PutSE(-3);
    w.PutUE(1);
    while (stream.cabac && w.Bits() % 8 != 0)
        w.Put(1, 1);
    // data that needs emulation prevention wherever it comes to lie
    for (const uint32_t byte : {0x00, 0x00, 0x01, 0xAB, 0x00, 0x00, 0x00, 0x00, 0x00, 0x2C, 0x00, 0x00, 0x03, 0x11})
        w.Put(8, byte);
    return Escape(w.Finish());
}

/// Two slices behind a message of another kind.
SP<Proc::IDataPacket> MakePacket(const Stream& stream, const Picture& picture)
{
    Bytes bytes;
    for (const Bytes& unit :
         {Bytes{0x06, 0x05, 0x01, 0x99, 0x80}, MakeSlice(stream, picture, 0), MakeSlice(stream, picture, 60)})
        Append(bytes, unit, stream.prefixed);
    const SP<Proc::IDataPacket> packet = Tools::MakePacket(bytes, 40, 20, 10);
    dynamic_cast<Proc::DataPacketFF&>(*packet).SetEntered(picture.entered);
    return packet;
}

/// A picture, and as what it has to come out; the same one where nothing is changed.
struct Row
{
    Picture given, wanted;
    Row(char type, uint32_t frameNum, uint32_t order, const std::vector<uint32_t>& unmarked = {})
        : Row(Picture{type, frameNum, order, unmarked})
    {
    }
    Row(const Picture& same) : given(same), wanted(same) {}
    Row(const Picture& given, const Picture& wanted) : given(given), wanted(wanted) {}
};

void Check(const Stream& stream, const std::vector<Row>& rows)
{
    H264EntryRepair repair(MakeHeader(stream));
    for (size_t i = 0; i < rows.size(); ++i)
    {
        const SP<Proc::IDataPacket> packet = MakePacket(stream, rows[i].given);
        const SP<Proc::IDataPacket> result = repair.Repair(packet);
        const Bytes wanted = Tools::Payload(*MakePacket(stream, rows[i].wanted));
        EXPECT_EQ(Tools::ToHex(*result), Tools::ToHex(wanted)) << "picture " << i;
        EXPECT_EQ(result == packet, Tools::Payload(*packet) == wanted) << "picture " << i;
        EXPECT_EQ(result->GetPTS(), packet->GetPTS());
    }
}

Picture Entered(uint32_t frameNum, uint32_t order)
{
    Picture picture{'I', frameNum, order};
    picture.entered = true;
    return picture;
}

} // namespace

using EntryRepairTest = testing::TestWithParam<Stream>;

TEST_P(EntryRepairTest, CommandsThatNameAbsentPicturesAreTakenOut)
{
    // a decoder holds what it put into the gap before 5, that is 4, and 5
    Check(GetParam(), {Entered(5, 40), {{'P', 6, 48, {0, 3}}, {'P', 6, 48, {0}}}, {'P', 7, 56}, {'P', 8, 64, {0}}});
    // and has to make room itself where the command that did is gone
    Check(GetParam(), {Entered(5, 40), {{'P', 6, 48, {3}}, {'P', 6, 48, {1}}}, {'P', 7, 56, {0}}});
    Picture none{'P', 2, 48};
    none.adaptive = true;
    Check(GetParam(),
          {Entered(5, 40), {{'P', 6, 48, {0, 3, 4}}, {'P', 6, 48, {0}}}, {'I', 7, 56}, {'D', 0, 0}, {'P', 1, 8, {3}}});
    Check(GetParam(), {Entered(1, 40), {{'P', 2, 48, {3}}, none}});
}

TEST_P(EntryRepairTest, OrderCountsThatStepBackAreMovedUpToTheNextIdrPicture)
{
    Picture shown{'B', 5, 22};
    Picture moved{'B', 5, 110};
    shown.reference = moved.reference = false;
    Check(GetParam(), {{'D', 0, 0},
                       {'P', 1, 100},
                       {Entered(3, 20), Entered(3, 108)},
                       {{'P', 4, 24}, {'P', 4, 112}},
                       {shown, moved},
                       {{'P', 5, 200}, {'P', 5, 32}}, // 288 in 8 bits
                       {'D', 0, 0},
                       {'P', 1, 8}});
    Check(GetParam(), {{'D', 0, 0}, {'P', 1, 100}, Entered(3, 130), {'P', 4, 134}});
    Picture first{'D', 0, 0}, second{'P', 1, 30};
    first.parameterSet = second.parameterSet = 1;
    Check(GetParam(), {first, second, {Entered(3, 20), Entered(3, 38)}, {{'P', 4, 24}, {'P', 4, 42}}});
}

INSTANTIATE_TEST_SUITE_P(Streams, EntryRepairTest,
                         testing::Values(Stream{"Cabac"}, Stream{"Cavlc", false}, Stream{"Interlaced", true, true},
                                         Stream{"Prefixed", false, false, true}),
                         [](const auto& info) { return info.param.name; });

TEST(H264RecoveryPointsTest, PicturesWhereARefreshMerelyBeginsAreNoKeys)
{
    const Bytes now{0x06, 0x06, 0x01, 0xC4, 0x80}, later{0x06, 0x06, 0x02, 0x15, 0x10, 0x80};
    const Bytes inter{0x41, 0x9A, 0x00, 0x00}, intra{0x41, 0x88, 0x80, 0x00}, idr{0x65, 0x88, 0x80, 0x00};
    TrackInfo track;
    const std::shared_ptr<AVCodecParameters> parameters(avcodec_parameters_alloc(),
                                                        [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    parameters->codec_id = AV_CODEC_ID_H264;
    track.parameters = parameters;
    H264RecoveryPoints points(track);
    const auto isKey = [&](const Bytes& message, const Bytes& slice)
    {
        Bytes bytes;
        Append(bytes, message, false);
        Append(bytes, slice, false);
        const SP<Proc::IDataPacket> packet = Tools::MakePacket(bytes, 40, 20, 10);
        packet->GetAVPacket()->flags = AV_PKT_FLAG_KEY;
        points.Check(SP<Proc::DataPacketFF>(dynamic_cast<Proc::DataPacketFF*>(packet.get())));
        return packet->IsKeyFrame();
    };
    EXPECT_TRUE(isKey(later, inter)) << "the first of the file";
    EXPECT_FALSE(isKey(later, inter));
    EXPECT_TRUE(isKey(now, inter));
    EXPECT_TRUE(isKey(later, intra));
    EXPECT_TRUE(isKey(later, idr));
    EXPECT_TRUE(isKey({0x06, 0x06, 0xFF}, inter)) << "a message that ends too early";
    points.Reset(true);
    EXPECT_TRUE(isKey(later, inter));
}

TEST(H264EntryRepairTest, WhatIsNotUnderstoodStaysUpToTheNextIdrPicture)
{
    const Stream stream{"", true, true};
    const Picture bad{'P', 6, 48, {0, 3}};
    Picture field = bad, other = bad;
    field.field = true;
    other.parameterSet = 2;
    Check(stream, {Entered(5, 40), field, bad, {'D', 0, 0}, {'P', 1, 8}});
    Check(stream, {Entered(5, 40), other, bad});
    // a piece that was not entered is no concern of the repair
    Check(stream, {{'D', 0, 0}, {'P', 1, 8, {7}}});

    for (const Bytes& damaged : {Bytes{0, 0, 0, 1, 0x41}, Bytes{0, 0, 0, 1}, Bytes{}})
    {
        H264EntryRepair repair(MakeHeader(stream));
        repair.Repair(MakePacket(stream, Entered(5, 40)));
        const SP<Proc::IDataPacket> packet = Tools::MakePacket(damaged, 40, 20, 10);
        EXPECT_EQ(repair.Repair(packet), packet) << Tools::ToHex(damaged);
    }
}

} // namespace Tessor::Host::Tests
