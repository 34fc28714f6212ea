#include "ffhost/bitstream/ParameterSets.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/Nal/RBSPInput.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "ffhost/bitstream/PacketUnits.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"

extern "C"
{
#include <libavcodec/packet.h>
#include <libavutil/mem.h>
}

#include <algorithm>

namespace Tessor::Host
{

using namespace Proc;
using namespace Proc::CodecParsers;

ParameterSets::ParameterSets(const std::string& codecId, const SP<const IBlob>& header)
    : hevc(codecId == Conf::IFormatCodecVideo::CODEC_ID_H265)
{
    known = header && header->Size() > 0 && (hevc || codecId == Conf::IFormatCodecVideo::CODEC_ID_H264);
    if (!known)
        return;
    try
    {
        lengthSize = LengthSizeOf(*header);
        Restart(*header);
        original = inForce;
        changed = false; // what Restart noted is the change from nothing
    }
    catch (const Exception& e)
    {
        known = false;
        fault = Describe(e);
    }
}

bool ParameterSets::AreComplete() const
{
    const auto has = [this](uint32_t type) {
        return std::any_of(inForce.begin(), inForce.end(), [type](const auto& set) { return set.first.first == type; });
    };
    return hevc ? has(HEVC_NALU_VPS) && has(HEVC_NALU_SPS) && has(HEVC_NALU_PPS)
                : has(H264_NALU_SPS) && has(H264_NALU_PPS);
}

size_t ParameterSets::LengthSizeOf(const IBlob& header) const
{
    return (hevc ? GetHvccNALULengthSize : GetAvccNALULengthSize)(header.Data(), header.Size());
}

bool ParameterSets::IsParameterSet(uint32_t type) const
{
    return hevc ? type >= HEVC_NALU_VPS && type <= HEVC_NALU_PPS : type == H264_NALU_SPS || type == H264_NALU_PPS;
}

uint32_t ParameterSets::TypeOf(const Nalu& unit) const
{
    if (hevc)
        return GetHEVCType(unit.first, unit.second);
    return unit.second > 0 ? unit.first[0] & 31 : 0;
}

uint32_t ParameterSets::IdentifierOf(const Nalu& unit) const
{
    const uint32_t type = TypeOf(unit);
    // It comes after profile_tier_level (7.3.2.2 of H.265), which is as long as its flags say.
    if (type == HEVC_NALU_SPS && hevc)
    {
        Bytes alone;
        alone.assign(NALU_START_CODE_4_BYTE.begin(), NALU_START_CODE_4_BYTE.end());
        alone.insert(alone.end(), unit.first, unit.first + unit.second);
        HEVC_SPS sps;
        HEVCDecodeSPS(alone.data(), alone.size(), sps);
        return sps.sps_seq_parameter_set_id;
    }
    RBSPInput rbsp(unit, hevc ? 16 : 8);
    if (type == HEVC_NALU_VPS)
        return rbsp.bits.ReadBits(4);
    if (type == H264_NALU_SPS)
        rbsp.bits.ReadBits(24); // profile, constraints, level
    // picture sets of both codecs, and sequence sets of H.264 from here on
    return read_ue(rbsp.bits);
}

ParameterSets::Sets ParameterSets::Identify(const std::vector<Nalu>& units) const
{
    Sets sets;
    for (auto [data, size] : units)
    {
        // Zeros after a unit belong to the byte stream (Annex B, trailing_zero_8bits): sets that differ in them alone
        // are the same.
        while (size > 0 && data[size - 1] == 0)
            --size;
        try
        {
            sets[{TypeOf({data, size}), IdentifierOf({data, size})}].assign(data, data + size);
        }
        catch (const Exception&)
        {
            // too short to have an identifier: no decoder takes it
        }
    }
    return sets;
}

void ParameterSets::Restart(const IBlob& header)
{
    // Headers of both framings are walked alike.
    const SP<const IBlob> blob(&header);
    const SP<const IBlob> annexB = (hevc ? HEVC_Extradata_hvcCtoAnnexB : H264_Extradata_Mp4toAnnexB)(blob);
    std::vector<Nalu> units, sets;
    FindAnnexBNalus(annexB->Data(), annexB->Size(), units);
    messages.clear();
    for (const Nalu& unit : units)
        if (IsParameterSet(TypeOf(unit)))
            sets.push_back(unit);
        else if (unit.second > 0)
            messages.emplace_back(unit.first, unit.first + unit.second);
    const Sets before = std::exchange(inForce, Identify(sets));
    version += inForce != before;
    changed = changed || inForce != before;
}

// Sets come before the first slice of a picture (7.4.1.2.3 of H.264, 7.4.2.4.4 of H.265), so that the many bytes after
// it need not be searched.
std::vector<Nalu> ParameterSets::FindHeadSets(const IDataPacket& packet) const
{
    std::vector<Nalu> sets;
    bool open = false; // the last set goes up to the next start code
    VisitUnits(packet, lengthSize,
               [&](const Nalu& unit)
               {
                   if (open)
                       sets.back().second = unit.first - NALU_START_CODE_3_BYTE.size() - sets.back().first;
                   const uint32_t type = TypeOf(unit);
                   if (IsParameterSet(type))
                       sets.push_back(unit);
                   open = lengthSize == 0 && IsParameterSet(type);
                   return hevc ? !IsVclNalu(unit) : type == 0 || type > 5; // 1 to 5 are slices
               });
    return sets;
}

void ParameterSets::TakeOver(const Sets& brought)
{
    const auto isNew = [&](const auto& entry)
    {
        const auto old = inForce.find(entry.first);
        return old == inForce.end() || old->second != entry.second;
    };
    if (std::none_of(brought.begin(), brought.end(), isNew))
        return;
    // An encoder that starts anew sends all of its sets: those that belong to the sequences before go. A sequence set
    // that comes alone leaves the picture sets, which refer to it by its identifier and may still be meant.
    const uint32_t sps = hevc ? HEVC_NALU_SPS : static_cast<uint32_t>(H264_NALU_SPS);
    std::set<uint32_t> sequences;
    for (const auto& entry : brought)
        if (entry.first.first == sps && isNew(entry))
            sequences.insert(entry.first.second);
    const bool hasPictures = brought.rbegin()->first.first > sps; // in order of types: PPS is the last of both codecs
    if (hasPictures)
        std::erase_if(inForce, [&](const auto& entry)
                      { return entry.first.first > sps && RefersToAny(entry.second, sequences); });
    for (const auto& [key, bytes] : brought)
        inForce[key] = bytes;
    ++version;
    changed = true;
}

// Both codecs begin a picture set with its identifier and that of its sequence set.
bool ParameterSets::RefersToAny(const Bytes& pictureSet, const std::set<uint32_t>& sequences) const
try
{
    RBSPInput rbsp({pictureSet.data(), pictureSet.size()}, hevc ? 16 : 8);
    read_ue(rbsp.bits);
    return sequences.count(read_ue(rbsp.bits)) > 0;
}
catch (const Exception&)
{
    // too short to refer to anything: nobody misses it
    return true;
}

void ParameterSets::Rewind()
{
    inForce = original;
    changed = false;
    ++version; // never back to an old number, which somebody may have noted for other sets
}

void ParameterSets::RemoveNewHeader(const IDataPacket& packet)
{
    // libavcodec removes single entries from 6.1 on only. From the end, so that the entry that fills the gap was seen.
    AVPacket& record = *packet.GetAVPacket();
    for (int i = record.side_data_elems - 1; i >= 0; --i)
        if (record.side_data[i].type == AV_PKT_DATA_NEW_EXTRADATA)
        {
            av_free(record.side_data[i].data);
            record.side_data[i] = record.side_data[--record.side_data_elems];
        }
}

bool ParameterSets::HasNewHeader(const IDataPacket& packet)
{
    size_t size = 0;
    return av_packet_get_side_data(packet.GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, &size) && size > 0;
}

ParameterSets::Carried ParameterSets::Follow(const IDataPacket& packet)
{
    if (!known)
        return Carried::None;
    if (HasNewHeader(packet))
    {
        size_t size = 0;
        const uint8_t* data = av_packet_get_side_data(packet.GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, &size);
        const SP<const IBlob> blob = BlobFF::Create(data, size);
        // MP4 may change its sample description in mid-track, but a track is written with one.
        if (LengthSizeOf(*blob) != lengthSize)
            Throw<Exception>(TESSOR_HERE, "The framing changes within the stream.");
        Restart(*blob);
    }
    const std::vector<Nalu> units = FindHeadSets(packet);
    if (units.empty())
        return Carried::None;
    const Sets brought = Identify(units);
    TakeOver(brought);
    // after the takeover, so that a packet that brings a whole new lot carries all
    return brought == inForce ? Carried::All : Carried::Some;
}

/// One unit in the stream's framing.
void ParameterSets::Append(const Bytes& unit, Bytes& to) const
{
    if (lengthSize > 0 && lengthSize < sizeof(size_t) && unit.size() >> 8 * lengthSize != 0)
        Throw<Exception>(TESSOR_HERE, "A parameter set is too big for the framing of its stream.");
    for (size_t i = lengthSize; i > 0; --i)
        to.push_back(static_cast<uint8_t>(unit.size() >> 8 * (i - 1)));
    if (lengthSize == 0)
        to.insert(to.end(), NALU_START_CODE_4_BYTE.begin(), NALU_START_CODE_4_BYTE.end());
    to.insert(to.end(), unit.begin(), unit.end());
}

SP<const IBlob> ParameterSets::MakeHeader() const
{
    Bytes bytes;
    const auto append = [&bytes](const Bytes& unit)
    {
        bytes.insert(bytes.end(), NALU_START_CODE_4_BYTE.begin(), NALU_START_CODE_4_BYTE.end());
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    };
    for (const auto& [key, unit] : inForce)
        append(unit);
    for (const Bytes& unit : messages)
        append(unit);
    const SP<const IBlob> annexB = BlobFF::Create(bytes.data(), bytes.size());
    if (lengthSize == 0)
        return annexB;
    const SP<const IBlob> record = (hevc ? HEVC_Extradata_AnnexBtoHvcC : H264_Extradata_AnnexBtoMp4)(annexB);
    const SP<BlobFF> own = BlobFF::Create(record->Data(), record->Size());
    // lengthSizeMinusOne of hvcC and avcC (ISO/IEC 14496-15), which the conversion sets to lengths of 4 bytes
    uint8_t& lengths = own->Data()[hevc ? 21 : 4];
    lengths = static_cast<uint8_t>((lengths & ~3u) | (lengthSize - 1));
    return own;
}

SP<DataPacketFF> ParameterSets::Prepend(const SP<IDataPacket>& packet) const
{
    Bytes whole;
    for (const auto& [key, unit] : inForce)
        Append(unit, whole);
    whole.insert(whole.end(), packet->GetData(), packet->GetData() + packet->GetSize());
    const SP<DataPacketFF> result = CreatePacketLike(*packet, whole.size());
    std::copy(whole.begin(), whole.end(), result->Data());
    RemoveNewHeader(*result);
    return result;
}

} // namespace Tessor::Host
