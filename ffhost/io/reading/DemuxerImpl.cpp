#include "ffhost/io/reading/DemuxerImpl.h"

#include "Fnd/Exception.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/reading/AdtsSurvey.h"
#include "ffhost/io/reading/DurationScan.h"
#include "ffhost/io/reading/MediaInfoBuilder.h"
#include "ffhost/io/reading/Truncation.h"

#include <algorithm>
#include <limits>

namespace Tessor::Host
{

SP<Demuxer> Demuxer::Open(const std::string& path, const DemuxerSettings& settings)
{
    return SP<Demuxer>(new DemuxerImpl(path, settings));
}

DemuxerImpl::DemuxerImpl(const std::string& path, const DemuxerSettings& settings)
    : path(path), settings(settings), pump(path, settings), info(BuildMediaInfo(pump.GetFile(), NameInput(path)))
{
    pump.Describe(&info);
    Survey();
    // What the survey has met by the way. Streams are numbered anew, so that all that was found before is void.
    if (pump.GetFile().LookDeeper())
    {
        info = BuildMediaInfo(pump.GetFile(), NameInput(path));
        Survey();
    }
    CompleteBitRates(info, pump.GetFile().GetProgress().second);
}

void DemuxerImpl::Survey()
{
    FindAdtsHeaders(pump.GetFile(), info);
    Measure();
}

void DemuxerImpl::Measure()
{
    const FileMeasure file = MeasureFile(pump.GetFile(), info);
    pump.SetJumps(file.jumps);
    const std::vector<TrackMeasure>& measures = file.tracks;
    avTime last = NoTime;
    for (const TrackMeasure& measure : measures)
        last = std::max(last, measure.end);
    truncation = FindTruncation(pump.GetFile(), info, last);
    info.duration = std::max<avTime>(0, last != NoTime ? last : info.duration);
    for (size_t i = 0; i < info.tracks.size(); ++i)
    {
        info.tracks[i].end = measures[i].end;
        const SP<Conf::IFormatCodec>& format = info.tracks[i].format;
        if (!format)
            continue;
        format->GetProperties().SetChildT<long long>(Conf::IFormatCodec::TAG_ORIGINAL_DURATION,
                                                     measures[i].end != NoTime ? measures[i].end : info.duration);
    }
}

const TrackInfo& DemuxerImpl::FindTrack(int track) const
{
    if (track < 0 || track >= static_cast<int>(info.tracks.size()))
        Throw<std::invalid_argument>(TESSOR_HERE, "No such track");
    return info.tracks[static_cast<size_t>(track)];
}

SP<Proc::IStreamRaw> DemuxerImpl::GetStream(int track)
{
    if (!FindTrack(track).IsDense())
        Throw<std::invalid_argument>(TESSOR_HERE, "Only audio and video tracks are streams");
    const boost::mutex::scoped_lock lock(mutex);
    Reader& reader = readers[track];
    if (!reader.stream)
    {
        pump.Select(track);
        // the demuxer owns it; who holds it counts on the demuxer (TrackStream::AddRef)
        reader.stream = std::make_unique<TrackStream>(static_cast<ITrackOwner&>(*this), track);
    }
    return SP<Proc::IStreamRaw>(reader.stream.get());
}

void DemuxerImpl::SelectSparse(int track)
{
    if (FindTrack(track).IsDense())
        Throw<std::invalid_argument>(TESSOR_HERE, "Audio and video tracks are not sparse");
    const boost::mutex::scoped_lock lock(mutex);
    pump.SelectSparse(track);
}

std::vector<SP<Proc::IDataPacket>> DemuxerImpl::TakeSparse(int track)
{
    const boost::mutex::scoped_lock lock(mutex);
    while (readers.empty() && pump.ReadMore())
    {
    }
    return pump.GetInbox(track).Take();
}

void DemuxerImpl::SetCut(const Proc::CutTimeline& cut)
{
    const boost::mutex::scoped_lock lock(mutex);
    pump.SetCut(cut);
}

void DemuxerImpl::KeepLeadIns(bool keep)
{
    const boost::mutex::scoped_lock lock(mutex);
    pump.KeepLeadIns(keep);
}

std::pair<long long, long long> DemuxerImpl::GetProgress() const
{
    const boost::mutex::scoped_lock lock(mutex);
    return pump.GetFile().GetProgress();
}

Damage DemuxerImpl::GetDamage() const
{
    const boost::mutex::scoped_lock lock(mutex);
    Damage damage = pump.GetDamage();
    damage.Join(truncation);
    return damage;
}

std::vector<LateStream> DemuxerImpl::GetLateStreams() const
{
    const boost::mutex::scoped_lock lock(mutex);
    return pump.GetFile().GetLateStreams();
}

SP<Proc::IDataPacket> DemuxerImpl::Read(int track)
{
    const boost::mutex::scoped_lock lock(mutex);
    if (!FillQueue(track))
        return nullptr;
    Reader& reader = readers.at(track);
    const SP<Proc::DataPacketFF> packet = pump.GetStaging(track).Pop();
    const avTime end = AddTime(packet->GetPTS(), packet->GetDuration());
    reader.position = std::max(reader.position, end);
    return packet;
}

// Before a first read, the position is where the packet lies that comes next.
avTime DemuxerImpl::GetPosition(int track)
{
    const boost::mutex::scoped_lock lock(mutex);
    Move();
    const Reader& reader = readers.at(track);
    if (reader.position != NoTime || !FillQueue(track))
        return reader.position;
    return pump.GetStaging(track).Front()->GetPosition();
}

void DemuxerImpl::RequestSeek(int track, avTime target)
{
    const boost::mutex::scoped_lock lock(mutex);
    // beyond the end there is nothing to seek to
    readers.at(track).requested = std::min(target, info.duration);
}

void DemuxerImpl::DoSeek()
{
    const boost::mutex::scoped_lock lock(mutex);
    for (auto& [track, reader] : readers)
    {
        if (reader.requested == NoTime)
            continue;
        reader.target = std::exchange(reader.requested, NoTime);
        movePending = true;
    }
}

// The tracks move together, to the smallest of their targets: there is one file. Those with later targets read up to
// theirs; those that no one asked to move do so all the same, as packets in between would be lost to them.
void DemuxerImpl::Move()
{
    if (!movePending)
        return;
    avTime target = std::numeric_limits<avTime>::max();
    for (auto& [track, reader] : readers)
    {
        const avTime own = std::exchange(reader.target, NoTime);
        target = own == NoTime ? target : std::min(target, own);
        reader.position = NoTime;
    }
    movePending = false;
    pump.MoveTo(target);
}

bool DemuxerImpl::FillQueue(int track)
{
    Move();
    GroupStaging& staging = pump.GetStaging(track);
    while (staging.IsEmpty() && pump.ReadMore())
    {
    }
    return !staging.IsEmpty();
}

} // namespace Tessor::Host
