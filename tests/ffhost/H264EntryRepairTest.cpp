#include "ffhost/bitstream/H264EntryRepair.h"

#include "Proc/CodecParsers/H264CodecParser.h"
#include "media/items/DataPacketFF.h"
#include "tests/CodecParsers/HeaderTools.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

namespace Tessor::Host::Tests
{

// inside of tests, the name alone means that of the test framework's class
namespace Tools = Tessor::Test;
using Tools::Bytes;
using Tools::operator+;
using Tools::SE;
using Tools::UE;
using Fields = Tools::H264Fields;

namespace
{

/// The tools of a built stream. It holds two references, frame_num has 4 bits and the picture order count 8.
struct Stream
{
    const char* name;
    bool cabac = true, interlaced = false, prefixed = false;
};

/// What is written of a picture. The type is D for an IDR picture, I, E for an I that is entered, P, A for a P with
/// adaptive marking and F for one field of it, B for one that is no reference.
struct Picture
{
    char type;
    uint32_t frameNum, order;
    std::vector<uint32_t> unmarked = {}; // difference_of_pic_nums_minus1; adaptive marking when there are any
    uint32_t parameterSet = 0;
};

void Append(Bytes& bytes, const Bytes& unit, bool prefixed)
{
    const size_t number = prefixed ? unit.size() : 1;
    bytes = bytes + Bytes{0, 0, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)} + unit;
}

/// Parameter sets 0, and those that re-encoded groups would use: order counts of 6 bits instead of 8.
SP<const Proc::IBlob> MakeHeader(const Stream& stream)
{
    Fields own{.refs = 2, .cabac = stream.cabac, .orderBits = 8, .deblocking = true};
    own.fields = stream.interlaced ? Fields::Mbaff : Fields::None;
    Fields other = own;
    other.id = 1;
    other.orderBits = 6;
    const SP<const Proc::IBlob> blob = Tools::MakeBlob(own.AnnexB() + other.AnnexB());
    return stream.prefixed ? Proc::CodecParsers::H264_Extradata_AnnexBtoMp4(blob) : blob;
}

Bytes MakeSlice(const Stream& stream, const Picture& picture, uint32_t firstBlock)
{
    const bool idr = picture.type == 'D', reference = picture.type != 'B', field = picture.type == 'F';
    const bool intra = idr || picture.type == 'I' || picture.type == 'E';
    Tools::ParameterSetWriter w;
    w.Put({{8, idr ? 0x65 : reference ? 0x41 : 0x01}, {UE, firstBlock}, {UE, intra ? 2 : reference ? 0 : 1}});
    w.Put({{UE, picture.parameterSet}, {4, picture.frameNum}});
    if (stream.interlaced)
        w.Put({{field ? 2 : 1, field ? 2 : 0}});
    if (idr)
        w.Put({{UE, 3}});
    w.Put({{picture.parameterSet == 0 ? 8 : 6, picture.order}});
    if (!intra)
        w.Put({{reference ? 2 : 4, reference ? 0 : 8}});
    const bool adaptive = picture.type == 'A' || !picture.unmarked.empty();
    if (reference)
        w.Put({{idr ? 2 : 1, adaptive}});
    for (const uint32_t difference : picture.unmarked)
        w.Put({{UE, 1}, {UE, difference}});
    if (adaptive)
        w.Put({{UE, 0}});
    if (stream.cabac && !intra)
        w.Put({{UE, 0}});
    w.Put({{SE, static_cast<uint32_t>(-3)}, {UE, 1}});
    while (stream.cabac && w.Bits() % 8 != 0)
        w.Put({{1, 1}});
    // data that needs emulation prevention wherever it comes to lie
    w.Put({{32, 0x000001AB}, {32, 0x00000000}, {32, 0x002C0000}, {32, 0x03110000}});
    return w.Finish();
}

/// Two slices after a message of another kind.
SP<Proc::IDataPacket> MakePacket(const Stream& stream, const Picture& picture)
{
    Bytes bytes;
    for (const Bytes& unit :
         {Bytes{0x06, 0x05, 0x01, 0x99, 0x80}, MakeSlice(stream, picture, 0), MakeSlice(stream, picture, 60)})
        Append(bytes, unit, stream.prefixed);
    const SP<Proc::IDataPacket> packet = Tools::MakePacket(bytes, 40, 20, 10);
    dynamic_cast<Proc::DataPacketFF&>(*packet).SetEntered(picture.type == 'E');
    return packet;
}

void Check(const Stream& stream, const std::vector<Picture>& given, const std::vector<Picture>& wanted)
{
    H264EntryRepair repair(MakeHeader(stream));
    for (size_t i = 0; i < given.size(); ++i)
    {
        const SP<Proc::IDataPacket> packet = MakePacket(stream, given[i]);
        const SP<Proc::IDataPacket> result = repair.Repair(packet);
        const Bytes payload = Tools::Payload(*MakePacket(stream, wanted[i]));
        EXPECT_EQ(Tools::ToHex(*result), Tools::ToHex(payload)) << "picture " << i;
        EXPECT_EQ(result == packet, Tools::Payload(*packet) == payload) << "picture " << i;
        EXPECT_EQ(result->GetPTS(), packet->GetPTS());
    }
}

void CheckUnchanged(const Stream& stream, const std::vector<Picture>& pictures)
{
    Check(stream, pictures, pictures);
}

} // namespace

using EntryRepairTest = testing::TestWithParam<Stream>;

TEST_P(EntryRepairTest, CommandsThatNameAbsentPicturesAreTakenOut)
{
    // a decoder holds what it put into the gap before 5, that is 4, and 5
    Check(GetParam(), {{'E', 5, 40}, {'P', 6, 48, {0, 3}}, {'P', 7, 56}, {'P', 8, 64, {0}}},
          {{'E', 5, 40}, {'P', 6, 48, {0}}, {'P', 7, 56}, {'P', 8, 64, {0}}});
    // and has to make room itself where the command that did is gone
    Check(GetParam(), {{'E', 5, 40}, {'P', 6, 48, {3}}, {'P', 7, 56, {0}}},
          {{'E', 5, 40}, {'P', 6, 48, {1}}, {'P', 7, 56, {0}}});
    Check(GetParam(), {{'E', 5, 40}, {'P', 6, 48, {0, 3, 4}}, {'I', 7, 56}, {'D', 0, 0}, {'P', 1, 8, {3}}},
          {{'E', 5, 40}, {'P', 6, 48, {0}}, {'I', 7, 56}, {'D', 0, 0}, {'P', 1, 8, {3}}});
    Check(GetParam(), {{'E', 1, 40}, {'P', 2, 48, {3}}}, {{'E', 1, 40}, {'A', 2, 48}});
}

TEST_P(EntryRepairTest, OrderCountsThatStepBackAreMovedUpToTheNextIdrPicture)
{
    // 288 does not go into 8 bits
    Check(GetParam(), {{'D', 0, 0}, {'P', 1, 100}, {'E', 3, 20}, {'B', 5, 22}, {'P', 5, 200}, {'D', 0, 0}},
          {{'D', 0, 0}, {'P', 1, 100}, {'E', 3, 108}, {'B', 5, 110}, {'P', 5, 32}, {'D', 0, 0}});
    CheckUnchanged(GetParam(), {{'D', 0, 0}, {'P', 1, 100}, {'E', 3, 130}, {'P', 4, 134}});
    Check(GetParam(), {{'D', 0, 0, {}, 1}, {'P', 1, 30, {}, 1}, {'E', 3, 20}, {'P', 4, 24}},
          {{'D', 0, 0, {}, 1}, {'P', 1, 30, {}, 1}, {'E', 3, 38}, {'P', 4, 42}});
}

INSTANTIATE_TEST_SUITE_P(Streams, EntryRepairTest,
                         testing::Values(Stream{"Cabac"}, Stream{"Cavlc", false}, Stream{"Interlaced", true, true},
                                         Stream{"Prefixed", false, false, true}),
                         [](const auto& info) { return info.param.name; });

TEST(H264EntryRepairTest, ParameterSetsInTheStreamReplaceThoseOfTheHeader)
{
    const Stream stream{""};
    Fields sets{.id = 1, .refs = 2, .cabac = true, .orderBits = 8, .deblocking = true};
    H264EntryRepair repair(Tools::MakeBlob(sets.AnnexB()));
    sets.orderBits = 6;
    const Bytes first = sets.AnnexB() + Tools::Payload(*MakePacket(stream, {'D', 0, 0, {}, 1}));
    repair.Repair(Tools::MakePacket(first, 40, 20, 10));
    repair.Repair(MakePacket(stream, {'P', 1, 30, {}, 1}));
    EXPECT_EQ(Tools::ToHex(*repair.Repair(MakePacket(stream, {'E', 3, 20, {}, 1}))),
              Tools::ToHex(*MakePacket(stream, {'E', 3, 38, {}, 1})));
}

TEST(H264EntryRepairTest, WhatIsNotUnderstoodStaysUpToTheNextIdrPicture)
{
    const Stream stream{"", true, true};
    CheckUnchanged(stream, {{'E', 5, 40}, {'F', 6, 48, {0, 3}}, {'P', 6, 48, {0, 3}}, {'D', 0, 0}, {'P', 1, 8}});
    CheckUnchanged(stream, {{'E', 5, 40}, {'P', 6, 48, {0, 3}, 2}, {'P', 6, 48, {0, 3}}});
    // a piece that was not entered is no concern of the repair
    CheckUnchanged(stream, {{'D', 0, 0}, {'P', 1, 8, {7}}});

    for (const Bytes& damaged : {Bytes{0, 0, 0, 1, 0x41}, Bytes{0, 0, 0, 1}, Bytes{}})
    {
        H264EntryRepair repair(MakeHeader(stream));
        repair.Repair(MakePacket(stream, {'E', 5, 40}));
        const SP<Proc::IDataPacket> packet = Tools::MakePacket(damaged, 40, 20, 10);
        EXPECT_EQ(repair.Repair(packet), packet) << Tools::ToHex(damaged);
    }
}

} // namespace Tessor::Host::Tests
