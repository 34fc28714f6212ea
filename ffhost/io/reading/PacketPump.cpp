#include "ffhost/io/reading/PacketPump.h"

#include "Fnd/Exception.h"
#include "ffhost/io/reading/DvbSegments.h"

extern "C"
{
#include <libavcodec/codec_desc.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <glog/logging.h>
#include <limits>

namespace Tessor::Host
{

namespace
{

constexpr avTime SPARSE_LEAD = 10 * SECOND;      // how long a subtitle may stand before the target and still be met
constexpr avTime CLOCK_LEAD = 1 * SECOND;        // where a seek may land between the parts of a packet
constexpr avTime STAMP_LEAD = 2 * MILLISECOND;   // longer than a tick, shorter than a picture
constexpr avTime MAX_INTERLEAVING = 10 * SECOND; // how far tracks may lie apart that stand side by side in a file
constexpr avTime WORTH_A_JUMP = 3 * SECOND;      // what is shorter is read through: a seek and its lead cost as much

ParameterSets SetsOf(const TrackInfo& track)
{
    return track.format ? ParameterSets(track.format->GetCodecID(), track.format->GetExtradata())
                        : ParameterSets({}, nullptr);
}

// Steps back from the target: 0, 1, 3, 10, 30, 100... seconds. Each is read anew up to the target; as they grow
// threefold, all that were in vain cost half of the last one.
avTime NextLead(avTime lead)
{
    if (lead < SECOND)
        return SECOND;
    avTime step = SECOND;
    for (int i = 0; step <= lead; ++i)
        step = i % 2 == 0 ? step * 3 : step / 3 * 10;
    return step;
}

} // namespace

void PacketPump::Describe(const MediaInfo* described)
{
    info = described;
}

void PacketPump::Select(int index)
{
    if (dense.count(index))
        return;
    const TrackInfo& track = info->tracks.at(static_cast<size_t>(index));
    const int64_t start = file.Stream(index).start_time;
    const AVRational base{track.timeBaseNum, track.timeBaseDen};
    dense.emplace(index,
                  DenseTrack{KeyPictures(track), TrackTimes(track, info->origin, Clock()), SetsOf(track),
                             GroupStaging(track.type), track.type,
                             start == AV_NOPTS_VALUE
                                 ? NoTime
                                 : SubTime(av_rescale_q(start, base, AVRational{1, AV_TIME_BASE}), info->origin)});
    hasVideo = hasVideo || track.type == MediaType::Video;
    file.Select(index);
    dense.at(index).staging.KeepLeadIns(keepsLeadIns);
    dense.at(index).staging.Restart(NoTime, file.IsAtStart());
    ApplyCut();
}

void PacketPump::SelectSparse(int index)
{
    if (sparse.count(index))
        return;
    const TrackInfo& track = info->tracks.at(static_cast<size_t>(index));
    sparse.emplace(
        index, SparseTrack{TrackClock(AVRational{track.timeBaseNum, track.timeBaseDen}, info->origin, Clock()), {}});
    file.Select(index);
    // libavformat hands a cover out once, before the first packet, which may have gone by
    if (track.attachedPicture)
        AddSparse(sparse.at(index), index, PacketPtr(av_packet_clone(&file.Stream(index).attached_pic)));
}

void PacketPump::SetCut(const Proc::CutTimeline& told)
{
    cut = told;
    ApplyCut();
}

void PacketPump::KeepLeadIns(bool keep)
{
    keepsLeadIns = keep;
    for (auto& [index, track] : dense)
        track.staging.KeepLeadIns(keep);
}

void PacketPump::ApplyCut()
{
    if (!cut)
        return;
    for (auto& [index, track] : dense)
        track.staging.SetCut(&*cut, IsPrimary(track));
}

bool PacketPump::ReadMore()
{
    TryJump();
    if (ended)
        return false;
    if (!ReadPacket())
        FinishAll();
    for (auto& [index, track] : dense)
        // here nobody steps further back: Settle and LandJump have taken what could be had
        if (track.staging.GetLanding() == GroupStaging::Landing::Missed)
            track.staging.AcceptMissed();
    return !ended;
}

bool PacketPump::ReadPacket()
{
    const long long damaged = file.GetDamagedCount();
    PacketPtr packet = file.Read();
    if (file.GetDamagedCount() != damaged)
        NoteDamage();
    if (!packet)
        return false;
    const int index = packet->stream_index;
    if (const auto found = dense.find(index); found != dense.end())
    {
        DenseTrack& track = found->second;
        const long long misplaced = track.times.GetDamagedCount();
        track.keys.Check(*packet);
        track.times.Push(std::move(packet));
        if (track.times.GetDamagedCount() != misplaced)
            NoteDamage();
        Deliver(track);
    }
    else if (const auto other = sparse.find(index); other != sparse.end())
    {
        if (!info->tracks[static_cast<size_t>(index)].attachedPicture)
            AddSparse(other->second, index, std::move(packet));
    }
    return true;
}

void PacketPump::NoteDamage()
{
    const avTime reached = std::max({NewestDts(), sought, avTime{0}});
    whole = whole == NoTime ? reached : std::min(whole, reached);
}

void PacketPump::FinishAll()
{
    if (ended)
        return;
    ended = true;
    for (auto& [index, track] : dense)
    {
        track.times.Finish();
        Deliver(track);
        track.staging.Finish();
    }
}

void PacketPump::Deliver(DenseTrack& track)
{
    while (SP<Proc::DataPacketFF> packet = track.times.Pull())
    {
        FollowSets(track, packet);
        track.staging.Push(std::move(packet));
    }
}

// What is read may be left out: sets that it has brought have to be met again after it. So all packets pass here,
// before staging drops some.
void PacketPump::FollowSets(DenseTrack& track, SP<Proc::DataPacketFF>& packet)
try
{
    const ParameterSets::Carried carried = track.sets.Follow(*packet);
    if (track.sets.AreMissed(*packet, carried) && !ParameterSets::HasNewHeader(*packet))
        packet = track.sets.Prepend(packet);
}
catch (const Exception& e)
{
    LOG(WARNING) << info->path << ": track " << packet->GetAVPacket()->stream_index << " at " << T2S(packet->GetPTS())
                 << ": a header that is unusable is left out: " << Tessor::Describe(e);
    ParameterSets::RemoveNewHeader(*packet);
}

void PacketPump::AddSparse(SparseTrack& track, int index, PacketPtr packet)
{
    if (!packet)
        return;
    // the tracks that are followed know how often the clock has jumped up to here
    track.clock.JoinNear(packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts, NewestDts());
    const avTime pts = track.clock.ToTime(packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts);
    const avTime dts = track.clock.ToTime(packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts);
    const avTime duration = std::max<avTime>(0, track.clock.ToTime(packet->duration) - track.clock.ToTime(0));
    const TrackInfo& described = info->tracks[static_cast<size_t>(index)];
    if (described.parameters->codec_id == AV_CODEC_ID_DVB_SUBTITLE)
        StripDvbWrapper(*packet);
    track.inbox.Add(Proc::DataPacketFF::Create(packet.release(), described.type, pts, dts, duration));
}

avTime PacketPump::NewestDts() const
{
    avTime newest = NoTime;
    for (const auto& [index, track] : dense)
        newest = std::max(newest, track.staging.GetNewestDts());
    return newest;
}

// Steps back until all tracks have met a key packet up to the target: an index may know too few entry points, or put
// them at times that are not the packets'. The last resort is the beginning, from which everything is met.
void PacketPump::MoveTo(avTime target)
{
    lastJump = NoTime;
    for (avTime lead = BaseLead(); SeekBefore(target, lead); lead = NextLead(lead))
    {
        for (auto& [index, track] : dense)
            track.staging.Restart(target, false);
        if (Settle(target, lead))
            return;
    }
    Rewind();
    for (auto& [index, track] : dense)
        track.staging.Restart(target > 0 ? target : NoTime, true);
}

// False when only the beginning of the file is far enough back.
bool PacketPump::SeekBefore(avTime target, avTime lead)
{
    if (target <= lead || !CanSeek())
        return false;
    if (jumps.shifts.size() > 1)
        return SeekToEntry(target - lead);
    sought = target - lead;
    if (!file.Seek(Anchor(), AddTime(info->origin, sought)))
        return false;
    ResetTimes(false);
    return true;
}

void PacketPump::Rewind()
{
    file.Rewind();
    sought = 0;
    ResetTimes(true);
}

bool PacketPump::SeekToEntry(avTime time)
{
    const auto next = std::upper_bound(jumps.entries.begin(), jumps.entries.end(), time,
                                       [](avTime t, const ClockJumps::Entry& entry) { return t < entry.time; });
    if (next == jumps.entries.begin() || !file.SeekToByte((next - 1)->position))
        return false;
    sought = (next - 1)->time;
    ResetTimes(false, sought);
    return true;
}

// Times that jump lead nowhere, unless the whole file is known.
bool PacketPump::CanSeek() const
{
    return !file.IsElementary() && (jumps.shifts.size() == 1 || !jumps.entries.empty());
}

// Reads on until every track has shown where it stands. False when one begins after the target. A track that starts
// there may; so may sound, once the step back has been longer than tracks lie apart. One that stays silent while others
// have gone far beyond the target is not waited for.
bool PacketPump::Settle(avTime target, avTime lead)
{
    for (;;)
    {
        bool searching = false, far = false;
        for (auto& [index, track] : dense)
        {
            const GroupStaging::Landing landing = track.staging.GetLanding();
            const bool late = track.start != NoTime && track.start > target;
            if (landing == GroupStaging::Landing::Missed)
            {
                if (!late && (track.type == MediaType::Video || lead < MAX_INTERLEAVING))
                    return false;
                track.staging.AcceptMissed();
            }
            searching = searching || landing == GroupStaging::Landing::Searching;
            far = far ||
                  (track.staging.GetNewestDts() != NoTime && track.staging.GetNewestDts() > target + MAX_INTERLEAVING);
        }
        if (!searching || far || ended)
            return true;
        if (!ReadPacket())
            FinishAll();
    }
}

void PacketPump::ResetTimes(bool atStart, avTime near)
{
    ended = false;
    for (auto& [index, track] : dense)
    {
        track.keys.Reset(atStart);
        track.times.Reset(atStart, near);
        // elsewhere the sets in force are not known; those met last are as good a guess as any
        if (atStart)
            track.sets.Rewind();
    }
    for (auto& [index, track] : sparse)
        track.clock.Reset(atStart, near);
}

// Moves the file over a long deleted stretch. When that fails from every place, everything is read again from the
// beginning; what was delivered before the jump is not delivered twice (GroupStaging::Jump).
void PacketPump::TryJump()
{
    const std::optional<avTime> target = cut && !ended ? FindJumpTarget() : std::nullopt;
    if (!target)
        return;
    lastJump = *target;
    // the last deleted stretch reaches as far as time does, which no index knows
    const avTime place = std::min(*target, info->duration);
    for (avTime lead = std::max(BaseLead(), SECOND); SeekBefore(place, lead); lead = NextLead(lead))
        if (LandJump(*target, false))
            return;
    Rewind();
    LandJump(*target, true);
}

// A jump pays when all primary tracks leave out the same long stretch, and the others have been read up to it.
std::optional<avTime> PacketPump::FindJumpTarget() const
{
    std::optional<avTime> target;
    avTime origin = NoTime;
    for (const auto& [index, track] : dense)
    {
        if (!IsPrimary(track))
            continue;
        const std::optional<avTime> skip = track.staging.GetSkipTarget();
        if (!skip || (target && skip != target) || skip == lastJump)
            return std::nullopt;
        const avTime left = SubTime(std::min(*skip, info->duration), track.staging.GetNewestDts());
        if (track.staging.GetNewestDts() == NoTime || left < WORTH_A_JUMP + BaseLead())
            return std::nullopt;
        target = skip;
        origin = std::max(origin, track.staging.GetSkipOrigin());
    }
    for (const auto& [index, track] : dense)
        if (!IsPrimary(track) && track.staging.GetDeliveredTime() < origin)
            return std::nullopt;
    return CanSeek() ? target : std::nullopt;
}

int PacketPump::CountPrimary(GroupStaging::Landing landing) const
{
    return static_cast<int>(std::count_if(
        dense.begin(), dense.end(),
        [&](const auto& entry) { return IsPrimary(entry.second) && entry.second.staging.GetLanding() == landing; }));
}

// The primary tracks land at the target, the others where these have landed, since the cut may widen to there.
bool PacketPump::LandJump(avTime target, bool lastTry)
{
    for (auto& [index, track] : dense)
        track.staging.Jump(IsPrimary(track) ? std::optional(target) : std::nullopt);
    while (CountPrimary(GroupStaging::Landing::Searching) + CountPrimary(GroupStaging::Landing::Found) > 0)
        if (!ReadPacket())
            FinishAll();
    if (CountPrimary(GroupStaging::Landing::Missed) > 0 && !lastTry)
        return false;
    return LandOthers(lastTry);
}

bool PacketPump::LandOthers(bool lastTry)
{
    avTime landed = std::numeric_limits<avTime>::max();
    for (auto& [index, track] : dense)
        if (IsPrimary(track))
            landed = std::min(landed, track.staging.GetLandedTime());
    for (auto& [index, track] : dense)
    {
        if (IsPrimary(track))
            continue;
        track.staging.LandAt(std::max(landed, track.staging.GetDeliveredTime()));
        if (track.staging.GetLanding() == GroupStaging::Landing::Missed && !lastTry)
            return false;
    }
    for (auto& [index, track] : dense)
        track.staging.Resume();
    return true;
}

avTime PacketPump::BaseLead() const
{
    if (!sparse.empty())
        return SPARSE_LEAD;
    if (file.Context().iformat->flags & AVFMT_TS_DISCONT)
        return CLOCK_LEAD;
    // Of pictures with one stamp a container's index knows the last alone. Where each picture is a group, reading from
    // the one before costs nothing.
    const AVCodecParameters& anchor = *file.Context().streams[Anchor()]->codecpar;
    const AVCodecDescriptor* codec = avcodec_descriptor_get(anchor.codec_id);
    return codec && (codec->props & AV_CODEC_PROP_INTRA_ONLY) ? STAMP_LEAD : 0;
}

// The track whose entry points a seek goes by: the first video track, or the first one at all.
int PacketPump::Anchor() const
{
    const auto video = std::find_if(dense.begin(), dense.end(),
                                    [](const auto& entry) { return entry.second.type == MediaType::Video; });
    return video != dense.end() ? video->first : dense.empty() ? 0 : dense.begin()->first;
}

ClockJumps* PacketPump::Clock()
{
    return file.Context().iformat->flags & AVFMT_TS_DISCONT ? &jumps : nullptr;
}

Damage PacketPump::GetDamage() const
{
    Damage damage{file.GetDamagedCount(), whole, NoTime};
    for (const auto& [index, track] : dense)
        damage.packets += track.times.GetDamagedCount();
    return damage;
}

} // namespace Tessor::Host
