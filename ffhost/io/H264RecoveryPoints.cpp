#include "ffhost/io/H264RecoveryPoints.h"

#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/RBSPInput.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <glog/logging.h>
#include <vector>

namespace Tessor::Host
{

using namespace Proc::CodecParsers;

namespace
{

constexpr uint32_t RECOVERY_POINT = 6; // payloadType

/// 7.3.2.3.1: numbers of messages are sums of bytes, 255 meaning that another follows.
uint32_t ReadSum(Core::DataBitInput& input)
{
    uint32_t sum = 0, byte = 255;
    while (byte == 255)
        sum += byte = input.ReadBits(8);
    return sum;
}

/// recovery_frame_cnt, 0 when the unit tells none.
uint32_t FindRecoveryCount(const Nalu& unit)
{
    RBSPInput rbsp(unit, 8);
    while (rbsp.bits.BitsLeft() > 16)
    {
        const uint32_t type = ReadSum(rbsp.bits), length = ReadSum(rbsp.bits);
        if (type == RECOVERY_POINT)
            return read_ue(rbsp.bits);
        for (uint32_t i = 0; i < length; ++i)
            rbsp.bits.ReadBits(8);
    }
    return 0;
}

} // namespace

H264RecoveryPoints::H264RecoveryPoints(const TrackInfo& track)
    : applies(track.parameters && track.parameters->codec_id == AV_CODEC_ID_H264)
{
    if (applies && track.parameters->extradata_size > 0)
        lengthSize =
            GetAvccNALULengthSize(track.parameters->extradata, static_cast<size_t>(track.parameters->extradata_size));
}

void H264RecoveryPoints::Check(const SP<Proc::DataPacketFF>& packet)
{
    if (!applies || !packet->IsKeyFrame())
        return;
    if (!first && IsRefresh(packet))
        packet->GetAVPacket()->flags &= ~AV_PKT_FLAG_KEY;
    first = false;
}

bool H264RecoveryPoints::IsRefresh(const SP<Proc::DataPacketFF>& packet) const
try
{
    const auto [nalu, slice] = GetH264Type(packet, lengthSize != 0, lengthSize);
    if (nalu != H264_NALU_SLICE || (slice != H264_SLICE_P && slice != H264_SLICE_B))
        return false;
    std::vector<Nalu> units;
    const uint8_t* const data = packet->GetData();
    const auto size = static_cast<size_t>(packet->GetSize());
    if (lengthSize != 0)
        FindMP4Nalus(data, size, units, lengthSize);
    else
        FindAnnexBNalus(data, size, units);
    return std::any_of(units.begin(), units.end(),
                       [](const Nalu& unit)
                       {
                           const bool message = unit.second > 0 && (*unit.first & 31) == H264_NALU_SEI;
                           return message && FindRecoveryCount(unit) > 0;
                       });
}
catch (const std::exception& e)
{
    VLOG(31) << "An entry point is taken as its container tells it: " << e.what();
    return false;
}

} // namespace Tessor::Host
