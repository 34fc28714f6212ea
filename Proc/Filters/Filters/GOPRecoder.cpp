#include "Proc/Filters/Filters/GOPRecoder.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/Filters/Filters/RecodeSettings.h"
#include "media/IFormatCodecVideo.h"

#include <algorithm>
#include <glog/logging.h>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;
using namespace CodecParsers;

namespace
{

size_t GetLengthSize(const Conf::IFormatCodec& format)
{
    const SP<const IBlob> extradata = format.GetExtradata();
    const HeaderBytes header(extradata);
    const bool h264 = format.GetCodecID() == Video::CODEC_ID_H264;
    return h264 && header.Exist() ? GetAvccNALULengthSize(header.data, header.size) : 0;
}

} // namespace

GOPRecoder::GOPRecoder(const SP<IStreamRaw>& source, PacketQueueWithGOP& queue,
                       const SP<FilterCutController>& controller, const SP<ICodecFactory>& factory,
                       const RecodeAbility& ability, bool reencode)
    : gop(new StreamRawGOP(source, queue)), controller(controller), ability(ability), type(source->GetMediaType()),
      codec(source->GetFormatCodec()->GetCodecID()), lengthSize(Proc::GetLengthSize(*source->GetFormatCodec()))
{
    if (reencode)
        CreateEncoder(factory);
    if (reader)
        return;
    // The last resort for video: the picture may stay damaged up to the next key frame.
    VLOG(31) << "Re-coded packets (" << (type == MediaType::Audio ? "Audio" : "Video") << ", Raw)";
    skipper.reset();
    reader = new DataSkipperStreamImpl<IStreamRaw>(gop, controller);
}

void GOPRecoder::CreateEncoder(const SP<ICodecFactory>& factory)
{
    try
    {
        const SP<IStreamVideo> decoder = factory->CreateDecoder(gop, "");
        skipper = new FrameSkipper(decoder, controller);
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

std::vector<SP<IDataPacket>> GOPRecoder::Recode()
{
    SeekToStart();
    std::vector<SP<IDataPacket>> packets = ReadPackets();
    if (skipper)
        SetTimes(packets);
    return packets;
}

void GOPRecoder::SeekToStart()
{
    const avTime start = gop->GetPosition();
    VLOG(31) << "GOP: start=" << T2S(start) << ", dur=" << T2S(gop->GetDuration()) << " --> ";
    reader->RequestSeek(controller->Source2Result(start), nullptr);
    reader->DoSeek();
}

std::vector<SP<IDataPacket>> GOPRecoder::ReadPackets()
{
    std::vector<SP<IDataPacket>> packets;
    bool keyFound = false;
    while (const SP<IDataPacket> packet = reader->Read())
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
    if (skipper && lengthSize != 0)
        return AnnexBtoMp4(packet, lengthSize);
    if (codec == Video::CODEC_ID_MPEG4 && packet->IsKeyFrame())
        return MPEG4_AddPacketHeader(packet, reader->GetFormatCodec()->GetExtradata());
    if (codec == Video::CODEC_ID_MPEG2VIDEO && packet->IsKeyFrame())
        return MPEG2_AddPacketHeader(packet, reader->GetFormatCodec()->GetExtradata());
    return packet;
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
