#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamRawImpl.h"

#include "Fnd/Statistics.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/Filters/Filters/Cutting/GOPRecoder.h"
#include "Proc/Filters/Filters/Cutting/GroupFate.h"
#include "media/formats/IFormatCodecVideo.h"

#include <glog/logging.h>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;

namespace
{

// Further than any packet of sound is long, and far less than a stretch that is jumped over.
constexpr avTime LARGEST_STEP_BACK = SECOND;

std::string Times(const IDataPacket& packet)
{
    return T2S(packet.GetPTS()) + ", " + T2S(packet.GetDTS()) + ", " + T2S(packet.GetDuration());
}

} // namespace

FilterCutControllerStreamRawImpl::FilterCutControllerStreamRawImpl(const SP<IStreamRaw>& source, const CutShare& share,
                                                                   const SP<ICodecFactory>& factory)
    : CutStream(source, share, "FilterCutControllerStreamRawImpl", FRAME_ALLOC_CPU), codecFactory(factory),
      ability(SearchRecodeAbility(source, factory)), video(source->GetMediaType() == MediaType::Video),
      output(share.ahead)
{
}

bool FilterCutControllerStreamRawImpl::CanCutAnywhere() const
{
    return !video || ability.canRecode;
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
    record.Add(Core::Property("Recoded pakets", static_cast<long long>(output.GetEncodedCount())));
    Core::Property statistic = parentStream->GetStatistic();
    statistic.Add(std::move(record));
    return statistic;
}

/// Where there were cuts when reading began, groups may still come again.
bool FilterCutControllerStreamRawImpl::PassesUncut()
{
    FollowSource();
    const bool begun = handled != Place() || !output.IsEmpty() || queue.Position() != NoTime || queue.Size() > 0;
    return !begun && intervals->CutsAreAbsent();
}

void FilterCutControllerStreamRawImpl::BeginRead()
{
    soughtInRead = std::exchange(seekRequested, false);
    eof = false;
}

auto FilterCutControllerStreamRawImpl::TakeTurn() -> Turn
{
    if (eof || !output.WantsMore())
        if (const SP<IDataPacket> packet = TakeOutput())
            return {.item = packet};
    if (rereadFrom != NoTime)
        return {.move = [this, from = rereadFrom] { Reread(from); }};
    if (eof)
        return {.ended = true};
    const avTime next = GetNextSeekPositionAfterGOP(soughtInRead);
    if (next == NoTime)
        return {};
    return {.move = [this, next, moves = movesSeen] { jumps->SeekToNextPosition(next, moves); }};
}

SP<IDataPacket> FilterCutControllerStreamRawImpl::TakeOutput()
{
    const SP<IDataPacket> packet = output.Take();
    packetsOut += packet ? 1 : 0;
    return packet;
}

void FilterCutControllerStreamRawImpl::BeginSeek()
{
    seekRequested = true;
    handled = Place();
    movesSeen = NOT_FOLLOWED;
    savedTo = rereadFrom = NoTime;
}

/// After a move of the source what was read of it for later is of no use: it comes again, or was jumped over.
void FilterCutControllerStreamRawImpl::FollowSource()
{
    const uint64_t moves = jumps->GetMoveCount();
    if (movesSeen == moves)
        return;
    movesSeen = moves;
    here = Place();
    eof = false;
    // Not as soon as the stretch is reached: the sources may stay where they are after all.
    queue.Reset(GetStartLimit());
}

/// However the sources land after a jump, what comes before the end of the stretch is thrown away; but not what has
/// become kept because one of them starts on key frames only.
avTime FilterCutControllerStreamRawImpl::GetStartLimit() const
{
    const bool jumped = savedTo != NoTime && intervals->IsPointDeleted(savedTo);
    return jumped ? intervals->GetIntervalEndTime(savedTo) : NoTime;
}

/// Reads a group from one place: no move comes in between.
bool FilterCutControllerStreamRawImpl::ReadGOP()
{
    while (true)
    {
        FollowSource();
        const auto hold = jumps->HoldSources();
        if (jumps->GetMoveCount() == movesSeen)
            return queue.ReadGOP(parentStream);
    }
}

avTime FilterCutControllerStreamRawImpl::GetNextSeekPositionAfterGOP(bool& sought)
{
    if (!ReadGOP())
    {
        eof = true;
        return NoTime;
    }
    here.Advance(queue.GetEntry());
    const avTime gopStart = queue.Position();
    const avTime gopEnd = queue.GetEnd();
    if (!queue.GoesOn())
    {
        firstPiece = pieceEnd = gopStart;
        piecesKept = false;
    }
    if (here <= handled)
    {
        piecesKept = true;
        pieceEnd = gopEnd;
        queue.SoftReset();
        return NoTime;
    }
    if (video && (queue.IsCutShort() || queue.GoesOn()))
        return CutPiece(gopEnd, sought);
    return CutGOP(gopStart, gopEnd, sought);
}

avTime FilterCutControllerStreamRawImpl::CutGOP(avTime gopStart, avTime gopEnd, bool& sought)
{
    GroupFate fate = FindGroupFate(intervals->GetTimeline(), gopStart, gopEnd);
    if (fate == GroupFate::Discard)
    {
        queue.SoftReset();
        VLOG(31) << "GOP: " << T2S(gopStart) << " + " << T2S(SubTime(gopEnd, gopStart)) << " = " << T2S(gopEnd);
        return NoTime;
    }
    if (fate == GroupFate::Drop)
    {
        seekRequested |= gopEnd == gopStart;
        return DropGOP(gopStart, sought);
    }
    if (fate == GroupFate::Part && KeyframeSeek())
    {
        intervals->KeepWhole(gopStart, gopEnd);
        fate = FindGroupFate(intervals->GetTimeline(), gopStart, gopEnd);
    }
    sought = false;
    if (fate == GroupFate::Part)
        RecodeGOP();
    else
        PassGOP();
    return NoTime;
}

/// A piece of a group that the queue can't hold. It can't be decoded without the pieces before it, so that such a group
/// is neither re-encoded nor parted: once one of its pieces has to be kept all are, from the first one on.
avTime FilterCutControllerStreamRawImpl::CutPiece(avTime gopEnd, bool& sought)
{
    const avTime start = pieceEnd; // other packets than key frames may be placed by the end of what they show
    pieceEnd = std::max(start, gopEnd);
    const bool kept = start < pieceEnd ? intervals->GetTimeline().GetResultDuration(start, pieceEnd) > 0
                                       : !queue.GoesOn() && !intervals->IsPointDeleted(start);
    if (!kept && !piecesKept)
        return DropGOP(start, sought);
    sought = false;
    const bool incomplete = queue.GoesOn() && !piecesKept;
    intervals->KeepWhole(firstPiece, pieceEnd);
    piecesKept = true;
    if (incomplete)
    {
        rereadFrom = firstPiece;
        queue.SoftReset();
    }
    else
        PassGOP();
    return NoTime;
}

/// Nothing of the group stays. Met right after a seek it just goes: to ask for a jump again would loop. The key frame
/// that waits stays for the next group, until the sources are really moved.
avTime FilterCutControllerStreamRawImpl::DropGOP(avTime gopStart, bool& sought)
{
    queue.SoftReset();
    if (sought)
        return NoTime;
    sought = true;
    eof = jumps->CheckPositionForEOF(gopStart);
    return KeyframeSeek() && !eof ? gopStart : NoTime;
}

/// Goes back, with all streams of the file, to a piece that was dropped before it was known to be needed.
void FilterCutControllerStreamRawImpl::Reread(avTime start)
{
    jumps->SeekInputStreams(start, false);
    const Lock lock(mutex);
    rereadFrom = NoTime;
}

/// The lossless path: packets are only moved in time.
void FilterCutControllerStreamRawImpl::PassGOP()
{
    while (queue.Size() > 0)
    {
        const SP<IDataPacket> packet = queue.Pop();
        SP<IDataPacket> cut = intervals->CutData(packet);
        if (!cut)
        {
            VLOG(31) << "Time shift: " << T2S(packet->GetPTS()) << ", " << T2S(packet->GetDTS()) << " --> NULL";
            continue;
        }
        cut = AddPacketHeader(cut);
        VLOG(31) << "Time shift: " << Times(*packet) << " --> " << Times(*cut) << (cut->IsKeyFrame() ? " (key)" : "");
        output.Add(cut);
        handled = here;
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
    const auto recoder =
        std::make_shared<GOPRecoder>(parentStream, queue, intervals->GetTimeline(), codecFactory, ability, reencode);
    output.AddGroup([recoder](const std::stop_token& stop) { return recoder->Recode(stop); });
    handled = here;
}

bool FilterCutControllerStreamRawImpl::SaveOne(avTime start)
{
    const bool more = SaveGOP(start);
    if (!more)
        savedTo = start;
    return more;
}

/// Handles one group; false when what is to be kept before `start` can't be in a later one.
bool FilterCutControllerStreamRawImpl::SaveGOP(avTime start)
{
    FollowSource();
    if (rereadFrom != NoTime)
        jumps->RefuseJump(); // the reader has to go back before
    if (rereadFrom != NoTime || eof)
        return false;
    // Stamps of sound may step back: what is to be kept may come after the first packets of the stretch.
    const avTime saveTo = video ? start : AddTime(start, LARGEST_STEP_BACK);
    avTime position = queue.Position();
    if (position == NoTime)
        position = parentStream->GetPosition();
    const bool begun = queue.IsCutShort(); // the rest of its group is wherever the source stands
    if (!begun && (position == NoTime || position >= saveTo))
        return false;
    bool sought = std::exchange(seekRequested, false);
    const avTime next = GetNextSeekPositionAfterGOP(sought);
    return next == NoTime || intervals->GetIntervalEndTime(next) != start;
}

} // namespace Tessor::Proc
