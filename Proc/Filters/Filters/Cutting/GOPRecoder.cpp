#include "Proc/Filters/Filters/Cutting/GOPRecoder.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/Filters/Filters/Cutting/RecodeSettings.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <glog/logging.h>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;
using namespace CodecParsers;

namespace
{

size_t GetLengthSize(const std::string& codec, const HeaderBytes& header)
try
{
    return codec == Video::CODEC_ID_H264 && header.Exist() ? GetAvccNALULengthSize(header.data, header.size) : 0;
}
catch (const Exception& e)
{
    // an unusable header tells nothing of lengths
    VLOG(31) << "Cought exception while decoding h264 header: " << boost::diagnostic_information(e);
    return 0;
}

/// Whether a header has all parameter sets among these units, bit by bit: sets that differ anywhere are others.
bool HoldsSets(const HeaderBytes& header, const std::vector<Nalu>& units)
{
    return std::all_of(units.begin(), units.end(),
                       [&](const Nalu& unit)
                       {
                           const int type = unit.second > 0 ? *unit.first & 31 : 0;
                           if (type != H264_NALU_SPS && type != H264_NALU_PPS)
                               return true;
                           const uint8_t* const end = header.data + header.size;
                           return std::search(header.data, end, unit.first, unit.first + unit.second) != end;
                       });
}

} // namespace

GOPRecoder::GOPRecoder(const SP<IStreamRaw>& source, PacketQueueWithGOP& queue, const CutTimeline& cut,
                       const SP<ICodecFactory>& factory, const RecodeAbility& ability, bool reencode)
    : gop(new StreamRawGOP(source, queue)), intervals(new CutIntervals(cut)), factory(factory), reencode(reencode),
      ability(ability), type(source->GetMediaType()), codec(source->GetFormatCodec()->GetCodecID()),
      header(source->GetFormatCodec()->GetExtradata()), lengthSize(Proc::GetLengthSize(codec, HeaderBytes(header)))
{
}

std::vector<SP<IDataPacket>> GOPRecoder::Recode(const std::stop_token& stop)
{
    CreateReader();
    SeekToStart();
    std::vector<SP<IDataPacket>> packets = ReadPackets(stop);
    if (skipper && !stop.stop_requested())
        SetTimes(packets);
    reader.reset(); // what coding takes goes before the packets are wanted
    skipper.reset();
    gop.reset();
    return packets;
}

void GOPRecoder::CreateReader()
{
    if (reencode)
        CreateEncoder();
    if (reader)
        return;
    // The last resort for video: the picture may stay damaged up to the next key frame.
    VLOG(31) << "Re-coded packets (" << (type == MediaType::Audio ? "Audio" : "Video") << ", Raw)";
    skipper.reset();
    reader = new DataSkipperStreamImpl<IStreamRaw>(gop, intervals);
}

// New ones for each group: neither references nor rate control may reach over from another.
void GOPRecoder::CreateEncoder()
{
    // What follows the last picture that is kept need not even be decoded.
    if (const auto tail = intervals->GetTimeline().FindStretch(SubTime(gop->GetDuration(), 1)))
        gop->LeaveOutTail(tail->start, tail->end);
    try
    {
        const SP<IStreamVideo> decoder = factory->CreateDecoder(gop, "");
        skipper = new FrameSkipper(decoder, intervals);
        reader = factory->CreateEncoder(skipper, ability.recodeFormat, ability.encoderName, ability.encoderResource);
        if (reader)
            VLOG(31) << "Re-coded packets (Video) with " << ability.encoderName;
    }
    catch (const EncoderException& e)
    {
        VLOG(31) << "Re-coding packets (Video) with " << ability.encoderName
                 << " was failed: " << boost::diagnostic_information(e);
    }
}

void GOPRecoder::SeekToStart()
{
    const avTime start = gop->GetPosition();
    VLOG(31) << "GOP: start=" << T2S(start) << ", dur=" << T2S(gop->GetDuration()) << " --> ";
    // in the result's time, which the skipper maps back
    reader->RequestSeek(intervals->Source2Result(start), nullptr);
    reader->DoSeek();
    gop->LetGo(); // each packet is decoded once
}

std::vector<SP<IDataPacket>> GOPRecoder::ReadPackets(const std::stop_token& stop)
{
    std::vector<SP<IDataPacket>> packets;
    bool keyFound = false;
    while (const SP<IDataPacket> packet = stop.stop_requested() ? nullptr : reader->Read())
    {
        packets.push_back(FitPacket(packet));
        if (keyFound || !packet->IsKeyFrame())
            continue;
        keyFound = true;
        keyOffset = SubTime(packet->GetPTS(), packet->GetDTS());
    }
    return packets;
}

/// The packet in the source's framing, with the headers that its codec carries in-band.
SP<IDataPacket> GOPRecoder::FitPacket(const SP<IDataPacket>& packet) const
{
    // What was not encoded is in the source's framing already.
    if (skipper && codec == Video::CODEC_ID_H264)
        return FitH264(packet);
    if (codec == Video::CODEC_ID_MPEG4 && packet->IsKeyFrame())
        return MPEG4_AddPacketHeader(packet, reader->GetFormatCodec()->GetExtradata());
    if (codec == Video::CODEC_ID_MPEG2VIDEO && packet->IsKeyFrame())
        return MPEG2_AddPacketHeader(packet, reader->GetFormatCodec()->GetExtradata());
    return packet;
}

SP<IDataPacket> GOPRecoder::FitH264(const SP<IDataPacket>& packet) const
{
    SP<IDataPacket> result = packet;
    if (packet->IsKeyFrame() && BringsOwnSets())
    {
        const SP<const IBlob> own = reader->GetFormatCodec()->GetExtradata();
        const HeaderBytes sets(own);
        result = sets.Exist() ? H264_ReplacePSs(packet, sets.data, sets.size) : packet;
    }
    return lengthSize != 0 ? AnnexBtoMp4(result, lengthSize) : result; // encoders give start codes
}

/// The encoder's sets are in the stream's header. That is not enough where either side has others: the group brings
/// others, or its pictures had the encoder begin anew.
bool GOPRecoder::BringsOwnSets() const
{
    const IDataPacket& first = gop->GetFirst();
    const auto size = static_cast<size_t>(first.GetSize());
    std::vector<Nalu> units;
    try
    {
        if (lengthSize != 0)
            FindMP4Nalus(first.GetData(), size, units, lengthSize);
        else
            FindAnnexBNalus(first.GetData(), size, units);
    }
    catch (const std::logic_error& e)
    {
        VLOG(31) << "A group begins with a packet that can't be read: " << e.what();
    }
    const SP<const IBlob> own = reader->GetFormatCodec()->GetExtradata();
    const HeaderBytes sets(own);
    FindAnnexBNalus(sets.data, sets.size, units);
    return !HoldsSets(HeaderBytes(header), units);
}

/// Each encoded picture takes over the time that the decoded one had in the result. The DTS keeps the encoder's own
/// reordering, moved so that key frames have the source's distance:
///
///     encoded  e, d            key frame: e - d = keyOffset
///     result   t, t - (e - d) + keyOffset - dtsShift
void GOPRecoder::SetTimes(const std::vector<SP<IDataPacket>>& packets) const
{
    const std::map<avTime, avTime> times = skipper->GetProcessedPktsTimes();
    if (times.size() != packets.size())
        Throw<Exception>(TESSOR_HERE, "Count of original and encoded packts are not equal!");
    std::vector<SP<IDataPacket>> shown = packets;
    // both sides in the order of display, where the n-th picture is the n-th packet whatever the encoder reordered
    std::stable_sort(shown.begin(), shown.end(),
                     [](const auto& a, const auto& b) { return a->GetPTS() < b->GetPTS(); });
    auto packet = shown.begin();
    for (const auto& [time, duration] : times)
    {
        const avTime moved = AddTime(SubTime(keyOffset, (*packet)->GetPTS()), time);
        const avTime dts = SubTime(AddTime(moved, (*packet)->GetDTS()), ability.dtsShift);
        (*packet)->SetDuration(duration);
        (*packet)->SetPTS(time);
        (*packet)->SetDTS(dts);
        ++packet;
    }
}

} // namespace Tessor::Proc
