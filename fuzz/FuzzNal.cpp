#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264PTSRestorer.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "fuzz/FuzzTools.h"
#include "media/formats/IFormatCodecVideo.h"

using namespace Tessor;
using namespace Tessor::Fuzz;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

namespace
{

/// The first three bytes say how the rest is taken: as packet and header, and in which form.
struct Input
{
    size_t lengthSize; // 0 to 7
    bool key;
    bool isMp4;
    bool isHEVC;
    const uint8_t* header;
    size_t headerSize;
    const uint8_t* data;
    size_t size;
};

Input Split(const uint8_t* data, size_t size)
{
    const size_t headerSize = std::min<size_t>(data[1] | (data[2] & 3) << 8, size - 3);
    return {data[0] & 7u, (data[0] & 8) != 0, (data[0] & 16) != 0,   (data[0] & 32) != 0,
            data + 3,     headerSize,         data + 3 + headerSize, size - 3 - headerSize};
}

void CheckWithin(const std::vector<Nalu>& units, const uint8_t* data, size_t size)
{
    const uint8_t* last = data;
    for (const Nalu& unit : units)
    {
        Require(unit.first >= last && unit.first + unit.second <= data + size);
        last = unit.first + unit.second;
    }
}

void Scan(const Input& in)
{
    std::vector<Nalu> units;
    FindAnnexBNalus(in.data, in.size, units);
    CheckWithin(units, in.data, in.size);
    units.clear();
    if (Accepts([&] { FindMP4Nalus(in.data, in.size, units, in.lengthSize); }))
        CheckWithin(units, in.data, in.size);
    Require(RemoveEmulationByte(in.data, in.size).size() <= in.size);
}

void Convert(const Input& in)
{
    const std::string codec =
        in.isHEVC ? Conf::IFormatCodecVideo::CODEC_ID_H265 : Conf::IFormatCodecVideo::CODEC_ID_H264;
    const SP<IDataPacket> packet = Packet(in.data, in.size, in.key);
    const SP<IDataPacket> shared = packet->Clone();
    const SP<IBlob> header = Blob(in.header, in.headerSize);
    Accepts([&] { Mp4toAnnexB(packet, in.lengthSize, header, codec); });
    Require(std::equal(in.data, in.data + in.size, shared->GetData()));

    SP<IDataPacket> mp4;
    Accepts([&] { mp4 = AnnexBtoMp4(shared, in.lengthSize); });
    // Without parameter sets in front, one way undoes the other.
    if (mp4 && in.lengthSize == 4 && !in.key)
    {
        const SP<IDataPacket> annexB = Mp4toAnnexB(mp4->Clone(), 4, nullptr, codec);
        Require(SameBytes(*AnnexBtoMp4(annexB, 4), *mp4));
    }
}

void EditPackets(const Input& in)
{
    const SP<IDataPacket> packet = Packet(in.data, in.size, in.key);
    const SP<IBlob> header = Blob(in.header, in.headerSize);
    Accepts([&] { TypeToString(GetH264Type(packet, in.isMp4, in.lengthSize)); });
    Accepts([&] { InsertH264Extradata(packet, header); });
    Accepts([&] { H264_ReplacePSs(packet, in.header, in.headerSize); });
    H264PTSRestorer restorer(in.isMp4, in.lengthSize);
    const bool pushed = Accepts([&] { restorer.Push(packet); });
    restorer.Push(nullptr);
    Require((restorer.Pull().first == packet) == pushed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    const Input in = Split(data, size);
    Scan(in);
    Convert(in);
    EditPackets(in);
    return 0;
}
