#include "Proc/Filters/Filters/FilterCutControllerStreamRawImpl.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/Filters/Filters/GOPRecoder.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "media/IFormatCodecVideo.h"

#include <glog/logging.h>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;

namespace
{

// A length; times that are equal are no distance apart, known or not.
avTime Distance(avTime start, avTime end)
{
    return start == end ? 0 : SubTime(end, start);
}

std::string Times(const IDataPacket& packet)
{
    return T2S(packet.GetPTS()) + ", " + T2S(packet.GetDTS()) + ", " + T2S(packet.GetDuration());
}

} // namespace

FilterCutControllerStreamRawImpl::FilterCutControllerStreamRawImpl(const SP<IStreamRaw>& source,
                                                                   const SP<FilterCutController>& controller,
                                                                   const SP<ICodecFactory>& factory)
    : StreamImpl(source, false), controller(controller), codecFactory(factory),
      ability(SearchRecodeAbility(source, factory)), video(source->GetMediaType() == MediaType::Video)
{
}

FilterCutControllerStreamRawImpl::~FilterCutControllerStreamRawImpl()
{
    StopThread();
    saveThread.WaitForAll();
    controller->EraseStream(parentStream.get());
}

bool FilterCutControllerStreamRawImpl::CanCutAnywhere() const
{
    return !video || ability.canRecode;
}

void FilterCutControllerStreamRawImpl::Initialize(const Core::Property&)
{
    Throw<FilterException>(TESSOR_HERE, "Method not implemented");
}

SP<Conf::IFormatCodec> FilterCutControllerStreamRawImpl::GetFormatCodec() const
{
    SP<Conf::IFormatCodec> format = parentStream->GetFormatCodec();
    if (video)
        format = format->Clone();
    UpdateFormatCodec(*format);
    return format;
}

void FilterCutControllerStreamRawImpl::UpdateFormatCodec(Conf::IFormatCodec& format) const
{
    // The source's own object is written once: others may be reading it later.
    const Core::Property& known = std::as_const(format).GetProperties();
    if (!known.ChildExists(Video::TAG_CUT_ANYWHERE) || known[Video::TAG_CUT_ANYWHERE].GetBool() != CanCutAnywhere())
        format.GetProperties().SetChildT(Video::TAG_CUT_ANYWHERE, CanCutAnywhere());
    if (ability.joinedHeader)
        format.SetExtradata(ability.joinedHeader);
}

Core::Property FilterCutControllerStreamRawImpl::GetStatistic() const
{
    // Packets in and the time of re-coding are not counted.
    constexpr long long packetsIn = 0;
    constexpr double recodeTime = 0;
    const std::string tag = Core::StatisticsTag("FilterCutControllerStreamRawImpl");
    Core::Property record = Core::MakeStatistics(tag, packetsIn, packetsOut);
    record.Add(Core::Property("Recode time", recodeTime));
    record.Add(Core::Property("Recoded pakets", static_cast<long long>(recodedPackets)));
    Core::Property statistic = parentStream->GetStatistic();
    statistic.Add(std::move(record));
    return statistic;
}

void FilterCutControllerStreamRawImpl::AcceptInternal(IStreamVisitor& visitor)
{
    Visitors::ProcessStandartVisitors(visitor, "FilterCutControllerStreamRawImpl", FRAME_ALLOC_CPU, nullptr);
}

SP<IDataPacket> FilterCutControllerStreamRawImpl::ReadInternal()
{
    if (controller->CutsAreAbsent())
        return ReadUncut();
    bool sought;
    {
        const Lock lock(mutex);
        sought = std::exchange(seekRequested, false);
        eof = false;
    }
    while (!IsTerminated())
    {
        avTime next;
        const uint64_t jumpsSeen = controller->GetJumpCount();
        {
            const Lock lock(mutex);
            if (const SP<IDataPacket> packet = TakeOutput())
                return packet;
            if (eof)
                return nullptr;
            next = GetNextSeekPositionAfterGOP(sought, Caller::Reader);
        }
        // The jump waits for this stream's own helper thread, which needs the mutex.
        if (next != NoTime)
            controller->SeekToNextPosition(next, jumpsSeen);
    }
    return nullptr;
}

/// Without cuts the source passes. What was read while there were some goes out first.
SP<IDataPacket> FilterCutControllerStreamRawImpl::ReadUncut()
{
    const Lock lock(mutex);
    if (outputPackets.empty())
    {
        queue.PutBufferToQueue();
        PassGOP();
    }
    const SP<IDataPacket> packet = TakeOutput();
    return packet ? packet : ReadPacket();
}

SP<IDataPacket> FilterCutControllerStreamRawImpl::ReadPacket()
{
    const Lock lock(mutex);
    return parentStream->Read();
}

SP<IDataPacket> FilterCutControllerStreamRawImpl::TakeOutput()
{
    if (outputPackets.empty())
        return nullptr;
    const SP<IDataPacket> packet = outputPackets.front();
    outputPackets.pop_front();
    ++packetsOut;
    return packet;
}

void FilterCutControllerStreamRawImpl::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    controller->DetectNewGOPS(); // before the mapping: it may move starts of intervals
    const avTime sourceTarget = controller->Result2Source(target);
    {
        const Lock lock(mutex);
        eof = false;
        seekRequested = true;
        queue.LiftLimit(sourceTarget);
    }
    parentStream->RequestSeek(sourceTarget, partner);
}

avTime FilterCutControllerStreamRawImpl::GetNextSeekPositionAfterGOP(bool& sought, Caller caller)
{
    if (!queue.ReadGOP(parentStream))
    {
        eof = true;
        return NoTime;
    }
    const avTime gopStart = queue.Position();
    const avTime gopEnd = queue.GetEnd();
    const avTime gopDuration = Distance(gopStart, gopEnd);
    if (gopDuration < 0)
    {
        queue.SoftReset();
        VLOG(31) << "GOP: " << T2S(gopStart) << " + " << T2S(gopDuration) << " = " << T2S(gopEnd);
        return NoTime;
    }
    const avTime resultStart = controller->Source2Result(gopStart);
    avTime resultDuration = Distance(resultStart, controller->Source2Result(gopEnd));
    if (resultDuration < 0)
        return NoTime;
    if (resultDuration == 0)
    {
        seekRequested |= gopEnd == gopStart;
        return DropGOP(gopStart, sought, caller);
    }
    if (KeyframeSeek() && resultDuration != gopDuration)
        resultDuration = controller->KeepWhole(gopStart, gopEnd);
    sought = false;
    if (resultDuration != gopDuration)
        RecodeGOP();
    else
        PassGOP();
    return NoTime;
}

/// Nothing of the group stays. Met right after a seek it just goes: to ask for a jump again would loop.
avTime FilterCutControllerStreamRawImpl::DropGOP(avTime gopStart, bool& sought, Caller caller)
{
    if (sought)
    {
        queue.SoftReset();
        return NoTime;
    }
    sought = true;
    // Without a jump the next group needs the key frame that waits for it.
    if (caller == Caller::Reader && KeyframeSeek() && controller->JumpsFrom(gopStart))
        queue.Reset(gopStart);
    else
        queue.SoftReset();
    eof = controller->CheckPositionForEOF(gopStart);
    return KeyframeSeek() && !eof ? gopStart : NoTime;
}

/// The lossless path: packets are only moved in time.
void FilterCutControllerStreamRawImpl::PassGOP()
{
    while (queue.Size() > 0)
    {
        const SP<IDataPacket> packet = queue.Pop();
        SP<IDataPacket> cut = controller->CutData(packet);
        if (!cut)
        {
            VLOG(31) << "Time shift: " << T2S(packet->GetPTS()) << ", " << T2S(packet->GetDTS()) << " --> NULL";
            continue;
        }
        cut = AddPacketHeader(cut);
        VLOG(31) << "Time shift: " << Times(*packet) << " --> " << Times(*cut) << (cut->IsKeyFrame() ? " (key)" : "");
        outputPackets.push_back(cut);
    }
}

/// After a cut the stream must be able to start at a key frame, and some codecs carry their headers in-band.
SP<IDataPacket> FilterCutControllerStreamRawImpl::AddPacketHeader(const SP<IDataPacket>& packet) const
{
    if (!video || !packet->IsKeyFrame())
        return packet;
    const std::string& codec = GetCodecID();
    if (codec == Video::CODEC_ID_MPEG4)
        return CodecParsers::MPEG4_AddPacketHeader(packet, parentStream->GetFormatCodec()->GetExtradata());
    if (codec == Video::CODEC_ID_MPEG2VIDEO)
        return CodecParsers::MPEG2_AddPacketHeader(packet, parentStream->GetFormatCodec()->GetExtradata());
    return packet;
}

void FilterCutControllerStreamRawImpl::RecodeGOP()
{
    const bool reencode = video && !KeyframeSeek();
    GOPRecoder recoder(parentStream, queue, controller, codecFactory, ability, reencode);
    for (const SP<IDataPacket>& packet : recoder.Recode())
    {
        ++recodedPackets;
        outputPackets.push_back(packet);
        VLOG(31) << "New packet: (" << outputPackets.size() << "): PTS=" << T2S(packet->GetPTS())
                 << ", DTS=" << T2S(packet->GetDTS()) << ", duration=" << T2S(packet->GetDuration())
                 << (packet->IsKeyFrame() ? " (key)" : "");
    }
    VLOG(31) << "--------";
}

void FilterCutControllerStreamRawImpl::SavePacketsBeforeSeek(avTime start, avTime end)
{
    saveThread.Start([this, start, end] { SavePacketsBeforeSeek_thread(start, end); });
}

void FilterCutControllerStreamRawImpl::SavePacketsBeforeSeek_thread(avTime start, avTime end)
{
    while (!IsTerminated() && SaveGOP(start))
    {
    }
    // However the seek lands, what comes before the end of the stretch is thrown away.
    queue.Reset(end);
}

/// Handles one group in front of the stretch; false when there is none any more.
bool FilterCutControllerStreamRawImpl::SaveGOP(avTime start)
{
    const Lock lock(mutex);
    if (eof)
        return false;
    avTime position = queue.Position();
    if (position == NoTime)
        position = parentStream->GetPosition();
    if (position == NoTime || position >= start)
        return false;
    bool sought = std::exchange(seekRequested, false);
    const avTime next = GetNextSeekPositionAfterGOP(sought, Caller::Helper);
    return next == NoTime || controller->GetIntervalEndTime(next) != start;
}

} // namespace Tessor::Proc
