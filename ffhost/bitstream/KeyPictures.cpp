#include "ffhost/bitstream/KeyPictures.h"

#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/Nal/RBSPInput.h"
#include "ffhost/bitstream/PacketUnits.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <glog/logging.h>
#include <map>
#include <optional>

namespace Tessor::Host
{

using namespace Proc::CodecParsers;

namespace
{

constexpr uint32_t RECOVERY_POINT = 6;           // payloadType
constexpr size_t MAX_SLICE_HEAD = 64;            // what is read of a slice takes less
constexpr uint8_t PICTURE_START = 0x00;          // MPEG-1 and MPEG-2
constexpr uint8_t VOP_START = 0xB6;              // MPEG-4
constexpr uint8_t VP8_START[] = {0x9D, 1, 0x2A}; // of key frames, RFC 6386, 9.1

/// 7.3.2.3.1: numbers of messages are sums of bytes, 255 meaning that another follows.
uint32_t ReadSum(Core::DataBitInput& input)
{
    uint32_t sum = 0, byte = 255;
    while (byte == 255)
        sum += byte = input.ReadBits(8);
    return sum;
}

/// recovery_frame_cnt; none where the unit tells none.
std::optional<uint32_t> FindRecoveryCount(const Nalu& unit)
{
    // without lengths the unit was given up to the end of the packet
    RBSPInput rbsp({unit.first, FindStartCode(unit.first, unit.second)}, 8);
    while (rbsp.bits.BitsLeft() > 16) // a message takes two bytes at least, the trailing bits one
    {
        const uint32_t type = ReadSum(rbsp.bits), length = ReadSum(rbsp.bits);
        if (type == RECOVERY_POINT)
            return read_ue(rbsp.bits);
        for (uint32_t i = 0; i < length; ++i)
            rbsp.bits.ReadBits(8);
    }
    return std::nullopt;
}

bool IsIntraSlice(const Nalu& unit)
{
    RBSPInput rbsp({unit.first, std::min(unit.second, MAX_SLICE_HEAD)}, 8);
    read_ue(rbsp.bits); // first_mb_in_slice
    const uint32_t type = read_ue(rbsp.bits) % 5;
    return type == H264_SLICE_I || type == H264_SLICE_SI;
}

} // namespace

KeyPictures::KeyPictures(const TrackInfo& track) : look(FindLook(track))
{
    if (look == &KeyPictures::LookAtH264 || look == &KeyPictures::LookAtHEVC)
        ReadHeader(track);
}

KeyPictures::Look KeyPictures::FindLook(const TrackInfo& track)
{
    static const std::map<AVCodecID, Look> looks = {
        {AV_CODEC_ID_H264, &KeyPictures::LookAtH264},         {AV_CODEC_ID_HEVC, &KeyPictures::LookAtHEVC},
        {AV_CODEC_ID_MPEG1VIDEO, &KeyPictures::LookAtMPEG12}, {AV_CODEC_ID_MPEG2VIDEO, &KeyPictures::LookAtMPEG12},
        {AV_CODEC_ID_MPEG4, &KeyPictures::LookAtMPEG4},       {AV_CODEC_ID_H263, &KeyPictures::LookAtH263},
        {AV_CODEC_ID_VP8, &KeyPictures::LookAtVP8},           {AV_CODEC_ID_VP9, &KeyPictures::LookAtVP9},
        {AV_CODEC_ID_THEORA, &KeyPictures::LookAtTheora},     {AV_CODEC_ID_WMV2, &KeyPictures::LookAtWMV2},
        {AV_CODEC_ID_MSMPEG4V2, &KeyPictures::LookAtMSMPEG4}, {AV_CODEC_ID_MSMPEG4V3, &KeyPictures::LookAtMSMPEG4},
        {AV_CODEC_ID_WMV1, &KeyPictures::LookAtMSMPEG4},
    };
    const auto found = track.parameters ? looks.find(track.parameters->codec_id) : looks.end();
    return found != looks.end() ? found->second : nullptr;
}

void KeyPictures::ReadHeader(const TrackInfo& track)
{
    const uint8_t* const data = track.parameters->extradata;
    const auto size = static_cast<size_t>(track.parameters->extradata_size);
    if (size == 0)
        return;
    try
    {
        const bool hevc = track.parameters->codec_id == AV_CODEC_ID_HEVC;
        lengthSize = hevc ? GetHvccNALULengthSize(data, size) : GetAvccNALULengthSize(data, size);
        framed = true;
        SPS_decoded sps;
        if (!hevc)
            DecodeSPS(data, size, sps);
        // An intra picture that is a reference fills the only place: whatever follows it refers to it or later ones.
        fewReferences = !hevc && sps.max_num_ref_frames <= 1;
    }
    catch (const Exception& e)
    {
        VLOG(31) << "Key pictures are told without the header: " << e.what();
    }
}

void KeyPictures::Check(AVPacket& packet)
{
    const bool flagged = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    const Kind kind = LookAt(packet);
    // A file that begins with an intra refresh has nothing better to begin with; later on a decoder waits for a key.
    const bool key = kind == Kind::Key || (flagged && (kind == Kind::Unknown || (kind == Kind::Refresh && first)));
    packet.flags = key ? packet.flags | AV_PKT_FLAG_KEY : packet.flags & ~AV_PKT_FLAG_KEY;
    first = first && !key;
}

KeyPictures::Kind KeyPictures::LookAt(const AVPacket& packet) const
try
{
    if (!look)
        return Kind::Unknown;
    // After the bytes there is libavcodec's padding, so that no look need ask for the first few of them.
    return packet.size > 0 ? (this->*look)({packet.data, static_cast<size_t>(packet.size)}) : Kind::Other;
}
catch (const std::exception& e)
{
    VLOG(31) << "A picture is taken as its container flags it: " << e.what();
    return Kind::Unknown;
}

bool KeyPictures::IsFramed(const Bytes& packet) const
{
    return framed || std::equal(NALU_START_CODE_4_BYTE.begin(), NALU_START_CODE_4_BYTE.end(), packet.data);
}

KeyPictures::Kind KeyPictures::LookAtH264(const Bytes& packet) const
{
    if (!IsFramed(packet))
        return Kind::Unknown;
    std::optional<uint32_t> recovery;
    Nalu slice = {};
    VisitUnits(packet.data, packet.size, lengthSize,
               [&](const Nalu& unit)
               {
                   const uint32_t type = unit.second > 1 ? *unit.first & 31u : 0;
                   // the messages come before the slices (7.4.1.2.3), and the first slice speaks for the picture
                   if (type == H264_NALU_SEI && !recovery)
                       recovery = FindRecoveryCount(unit);
                   if (type == H264_NALU_SLICE || type == H264_NALU_PARTITION_A || type == H264_NALU_IDR)
                       slice = unit;
                   return !slice.first;
               });
    if (!slice.first)
        return Kind::Unknown;
    if ((*slice.first & 31) == H264_NALU_IDR)
        return Kind::Key;
    // nal_ref_idc of 0: it takes no place among the references, and pushes none out
    if (IsIntraSlice(slice))
        return KeyWhere(recovery || (fewReferences && (*slice.first & 0x60) != 0));
    if (!recovery)
        return Kind::Other;
    // without intra slices an immediate recovery is for the container to confirm
    return *recovery > 0 ? Kind::Refresh : Kind::Unknown;
}

KeyPictures::Kind KeyPictures::LookAtHEVC(const Bytes& packet) const
{
    if (!IsFramed(packet))
        return Kind::Unknown;
    Kind kind = Kind::Unknown;
    VisitUnits(packet.data, packet.size, lengthSize,
               [&](const Nalu& unit)
               {
                   if (IsVclNalu(unit))
                       // from here on there are intra random access points only (H.265, Table 7-1)
                       kind = KeyWhere(GetHEVCType(unit.first, unit.second) >= HEVC_NALU_BLA_W_LP);
                   return kind == Kind::Unknown;
               });
    return kind;
}

/// picture_coding_type, after 10 bits of temporal_reference (ISO/IEC 13818-2, 6.2.3): 1 is I, and 0 forbidden.
KeyPictures::Kind KeyPictures::LookAtMPEG12(const Bytes& packet) const
{
    const size_t at = FindStartCodeOf(packet.data, packet.size, PICTURE_START);
    const int type = packet.size - at > 5 ? packet.data[at + 5] >> 3 & 7 : 0;
    return type == 0 ? Kind::Unknown : KeyWhere(type == 1);
}

/// vop_coding_type, the first two bits of a video object plane (ISO/IEC 14496-2, 6.2.5): 0 is I.
KeyPictures::Kind KeyPictures::LookAtMPEG4(const Bytes& packet) const
{
    const size_t at = FindStartCodeOf(packet.data, packet.size, VOP_START);
    return packet.size - at > 4 ? KeyWhere(packet.data[at + 4] >> 6 == 0) : Kind::Unknown;
}

/// The type of PTYPE, or of MPPTYPE, which stands after OPPTYPE where that is there (ITU-T H.263, 5.1.3 and 5.1.4).
/// Bits are counted from the picture start code, of 22 bits: TR has 8 more, a source format of 7 announces PLUSPTYPE,
/// and the last bit of UFEP the 18 bits of OPPTYPE.
KeyPictures::Kind KeyPictures::LookAtH263(const Bytes& packet) const
{
    if (packet.data[0] != 0 || packet.data[1] != 0 || packet.data[2] >> 2 != 0x20)
        return Kind::Unknown;
    const bool extended = (packet.data[4] >> 2 & 7) == 7;
    if (!extended)
        return KeyWhere(!packet.Bit(38));
    const size_t at = packet.Bit(40) ? 59 : 41;
    return KeyWhere(!packet.Bit(at) && !packet.Bit(at + 1) && !packet.Bit(at + 2));
}

/// The first bit of the frame tag, which is little-endian, is 0 in key frames (RFC 6386, 9.1).
KeyPictures::Kind KeyPictures::LookAtVP8(const Bytes& packet) const
{
    const bool key = !(packet.data[0] & 1);
    if (key && !std::equal(std::begin(VP8_START), std::end(VP8_START), packet.data + 3))
        return Kind::Unknown;
    return KeyWhere(key);
}

/// A marker, two bits of the profile with a reserved one after profile 3, show_existing_frame, frame_type. Of a
/// superframe that is the first frame: a decoder starts there or not at all.
KeyPictures::Kind KeyPictures::LookAtVP9(const Bytes& packet) const
{
    if (packet.data[0] >> 6 != 2)
        return Kind::Unknown;
    const size_t at = packet.Bit(2) && packet.Bit(3) ? 5 : 4;
    return KeyWhere(!packet.Bit(at) && !packet.Bit(at + 1));
}

/// The first bit tells headers from frames, the second one inter frames.
KeyPictures::Kind KeyPictures::LookAtTheora(const Bytes& packet) const
{
    return packet.Bit(0) ? Kind::Unknown : KeyWhere(!packet.Bit(1));
}

/// The type is one bit: I or P.
KeyPictures::Kind KeyPictures::LookAtWMV2(const Bytes& packet) const
{
    return KeyWhere(!packet.Bit(0));
}

/// The type is two bits, 0 for I and 1 for P; there are no others.
KeyPictures::Kind KeyPictures::LookAtMSMPEG4(const Bytes& packet) const
{
    return packet.Bit(0) ? Kind::Unknown : KeyWhere(!packet.Bit(1));
}

} // namespace Tessor::Host
