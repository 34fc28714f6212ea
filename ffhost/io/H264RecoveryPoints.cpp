#include "ffhost/io/H264RecoveryPoints.h"

#include "Fnd/DataInputMemory.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/StartCode.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <glog/logging.h>

#include <vector>

namespace Tessor::Host
{

using namespace Proc::CodecParsers;

namespace
{

constexpr uint32_t RECOVERY_POINT = 6;       // payloadType
constexpr size_t SLICE_HEAD = 16;            // more than the fields up to slice_type take
constexpr size_t MAX_MESSAGE_UNIT = 1 << 16; // bytes of a unit with messages

Core::DataBitInput ReadBytes(const std::vector<uint8_t>& bytes)
{
    return Core::DataBitInput(Core::DataInputMemory::Create(bytes.data(), bytes.size()));
}

/// 7.3.2.3.1: numbers of messages are sums of bytes, 255 meaning that another follows.
uint32_t ReadSum(Core::DataBitInput& input)
{
    uint32_t sum = 0, byte = 255;
    while (byte == 255)
        sum += byte = input.ReadBits(8);
    return sum;
}

/// recovery_frame_cnt, 0 when the unit tells none.
uint32_t FindRecoveryCount(const uint8_t* unit, size_t size)
{
    const std::vector<uint8_t> rbsp = RemoveEmulationByte(unit, std::min(size, MAX_MESSAGE_UNIT));
    Core::DataBitInput input = ReadBytes(rbsp);
    input.ReadBits(8);
    while (input.BitsLeft() > 16)
    {
        const uint32_t type = ReadSum(input), length = ReadSum(input);
        if (type == RECOVERY_POINT)
            return read_ue(input);
        for (uint32_t i = 0; i < length; ++i)
            input.ReadBits(8);
    }
    return 0;
}

bool IsIntraSlice(const uint8_t* unit, size_t size)
{
    const std::vector<uint8_t> rbsp = RemoveEmulationByte(unit, std::min(size, SLICE_HEAD));
    Core::DataBitInput input = ReadBytes(rbsp);
    input.ReadBits(8);
    read_ue(input); // first_mb_in_slice
    const uint32_t type = read_ue(input) % 5;
    return type == H264_SLICE_I || type == H264_SLICE_SI;
}

} // namespace

H264RecoveryPoints::H264RecoveryPoints(const TrackInfo& track)
    : applies(track.parameters && track.parameters->codec_id == AV_CODEC_ID_H264)
{
    if (applies && track.parameters->extradata_size > 0)
        lengthSize =
            GetAvccNALULengthSize(track.parameters->extradata, static_cast<size_t>(track.parameters->extradata_size));
}

void H264RecoveryPoints::Check(AVPacket& packet)
{
    if (!applies || !(packet.flags & AV_PKT_FLAG_KEY))
        return;
    if (!first && IsRefresh(packet))
        packet.flags &= ~AV_PKT_FLAG_KEY;
    first = false;
}

bool H264RecoveryPoints::IsRefresh(const AVPacket& packet) const
try
{
    std::vector<std::pair<const uint8_t*, size_t>> units;
    const uint8_t* data = packet.data;
    const auto size = static_cast<size_t>(packet.size);
    if (lengthSize != 0)
        FindMP4Nalus(data, size, units, lengthSize);
    else
        FindAnnexBNalus(data, size, units);
    uint32_t count = 0;
    for (const auto& [unit, length] : units)
    {
        const int type = length > 0 ? *unit & 31 : 0;
        if (type == H264_NALU_SEI)
            count = std::max(count, FindRecoveryCount(unit, length));
        else if (type == H264_NALU_SLICE)
            return count > 0 && !IsIntraSlice(unit, length);
        else if (type == H264_NALU_IDR)
            return false;
    }
    return false;
}
catch (const std::exception& e)
{
    VLOG(31) << "An entry point is taken as its container tells it: " << e.what();
    return false;
}

} // namespace Tessor::Host
