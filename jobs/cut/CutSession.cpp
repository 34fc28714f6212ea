#include "jobs/cut/CutSession.h"

#include "Fnd/Exception.h"
#include "Fnd/Plural.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/codecs/Threads.h"
#include "ffhost/io/Container.h"
#include "ffhost/streams/FieldJoiner.h"
#include "ffhost/streams/SampleParts.h"
#include "jobs/JobError.h"
#include "jobs/SeekTo.h"
#include "jobs/TrackSelection.h"
#include "jobs/cut/CutBounds.h"
#include "jobs/cut/KeptContent.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/cut/KeyFrameBounds.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tessor::Jobs
{

namespace
{

/// Bounds that are elsewhere now; ranges that came together have none between them.
std::vector<MovedBound> FindMoved(const std::vector<Range>& before, const std::vector<Range>& after)
{
    std::vector<MovedBound> moved;
    for (const Range& range : after)
    {
        const auto meets = [&](const Range& old) { return old.start < range.end && old.end > range.start; };
        const auto first = std::find_if(before.begin(), before.end(), meets);
        const auto last = std::find_if(before.rbegin(), before.rend(), meets);
        if (first == before.end())
            continue;
        if (first->start != range.start)
            moved.push_back({first->start, range.start});
        if (last->end != range.end)
            moved.push_back({last->end, range.end});
    }
    return moved;
}

/// What decoders of sound may need to have read before; nobody minds to hear it.
constexpr avTime longest_run_in = 100 * MILLISECOND;

/// Pixels beyond which groups are encoded one at a time. Each takes 170 MB at 1080p, 80 bytes a pixel: the pictures
/// that decoder and encoder hold, with what an encoder knows of them.
constexpr long long large_picture = 1600LL * 900;

bool HasLargePictures(const Host::MediaInfo& info)
{
    return std::any_of(info.tracks.begin(), info.tracks.end(),
                       [](const Host::TrackInfo& track)
                       {
                           const auto* video = dynamic_cast<const Conf::IFormatCodecVideo*>(track.format.get());
                           const Conf::FrameInfo size = video ? video->GetFrameInfo() : Conf::FrameInfo();
                           return static_cast<long long>(size.width) * size.height > large_picture;
                       });
}

/// Two groups: where a piece ends, and where the next one begins. An encoder uses all cores, but not all of the time.
/// More would take much memory, as two of large pictures do.
Proc::EncodeAhead ChooseEncodeAhead(const Host::MediaInfo& info)
{
    const bool single = Host::GetThreadLimit() == 1 || HasLargePictures(info);
    return {.groups = single ? 1U : 2U, .bytes = 16 << 20};
}

} // namespace

CutSession::CutSession(const CutSettings& request, const IProgress& progress)
    : demuxer(OpenInput({request.input, request.reading}, progress))
{
    const std::vector<int> chosen = ChooseTracks(request.tracks);
    if (request.recode.IsGiven())
        CheckRecode(chosen, request.recode);
    // What is asked for is told by the first video track, which comes first. It is read alone: other tracks, once they
    // are selected, are read along with it and held in memory.
    JoinTrack(chosen.front());
    requested = ReadRequest(request);
    ranges = FromFirstEntry(GetRanges(requested));
    SnapToPictures();
    std::for_each(chosen.begin() + 1, chosen.end(), [this](int index) { JoinTrack(index); });
    intervals = new Proc::CutIntervals(MakeTimeline());
    // a picture that begins before a piece is not part of it, though it still stands when the piece begins
    const auto wanted = [intervals = intervals](avTime time) { return !intervals->IsPointDeleted(time); };
    // one thread, for encoders take several times as long
    codecs = Host::CodecFactory::Create({.wanted = wanted, .threads = 1}, request.recode);
    controller = Proc::FilterCutController::Create(intervals, codecs);
    controller->SetEncodeAhead(ChooseEncodeAhead(GetInfo()));
    LeaveOutEmpty(true); // before the cut is widened to groups of a track that has nothing there
    JoinToController();
    codecs->RequireEncoders(); // what can be encoded anew is known
    keepsLead = !CanCutLead(request.output, request.writing.format);
    const std::vector<Range> exact = ranges;
    BringToKeyFrames(request.snap);
    AlignToGroups();
    moved = FindMoved(exact, ranges);
    LeaveOutEmpty(false);
    intervals->Set(MakeTimeline());
    demuxer->SetCut(GetCut());
}

CutTrack* CutSession::GetVideo()
{
    const auto found = std::find_if(tracks.begin(), tracks.end(),
                                    [&](const CutTrack& track)
                                    { return GetInfo().tracks[track.index].type == MediaType::Video && track.source; });
    return found == tracks.end() ? nullptr : &*found;
}

std::vector<int> CutSession::ChooseTracks(const std::string& wanted)
{
    std::vector<int> chosen = Jobs::ChooseTracks(GetInfo(), wanted, warnings);
    if (std::none_of(chosen.begin(), chosen.end(), [&](int index) { return GetInfo().tracks[index].IsDense(); }))
        throw JobError(JobError::Failed, GetInfo().path + ": there is neither picture nor sound to cut");
    return chosen;
}

void CutSession::CheckRecode(const std::vector<int>& chosen, const Host::RecodeOptions& wanted) const
try
{
    for (const int index : chosen)
        if (const Host::TrackInfo& info = GetInfo().tracks[index]; info.type == MediaType::Video && info.IsDense())
            Host::CodecFactory::Check(*info.format, wanted);
}
catch (const Proc::CodecFactoryException& e)
{
    throw JobError(JobError::BadRequest, GetInfo().path + ": " + Describe(e));
}

void CutSession::JoinTrack(int index)
{
    const auto nextBound = [this](avTime time) { return intervals ? intervals->GetIntervalEndTime(time) : time; };
    tracks.push_back(
        {index, Host::SampleParts::Create(SelectTrack(*demuxer, index).stream, GetInfo().tracks[index], nextBound),
         nullptr});
    if (tracks.back().IsVideo())
        tracks.back().groups = std::make_shared<GroupCache>(JoinFields(tracks.back()));
}

SP<Proc::IStreamRaw> CutSession::JoinFields(const CutTrack& track) const
{
    return Host::FieldJoiner::Create(track.source, GetInfo().tracks[track.index]);
}

std::vector<AskedRange> CutSession::ReadRequest(const CutSettings& request)
{
    if (!GetVideo())
        return ReadKeptRanges(request.keep, request.remove, *demuxer, request.tracks, warnings);
    const auto video = [this] { return JoinFields(*GetVideo()); };
    return ReadKeptRanges(request.keep, request.remove, GetInfo(), MakeTimeContext(GetInfo(), video), warnings);
}

std::vector<Range> CutSession::FromFirstEntry(std::vector<Range> list)
{
    const avTime entry = GetVideo() ? FindLateEntry(*GetVideo()->source) : NoTime;
    const auto parts = [&](const Range& range)
    { return range.start < entry && (range.start > 0 || range.end < entry); };
    if (entry == NoTime || std::none_of(list.begin(), list.end(), parts))
        return list;
    for (Range& range : list)
        if (parts(range))
            range.start = std::min(entry, range.end);
    std::erase_if(list, [](const Range& range) { return range.start >= range.end; });
    if (list.empty())
        throw JobError(JobError::Failed, GetInfo().path + ": nothing can be decoded before " + T2S(entry) +
                                             ", where the first key picture is");
    warnings.push_back("pictures before the first key picture, " + T2S(entry) + ", can't be decoded and are left out");
    return list;
}

void CutSession::SnapToPictures()
{
    const CutTrack* const video = GetVideo();
    if (!video)
        return;
    std::vector<avTime> sides; // of all bounds: whether a group ends there is asked, too
    for (const Range& range : ranges)
        for (const avTime bound : {range.start, range.end})
            if (bound > 1 && bound < GetInfo().duration)
                sides.insert(sides.end(), {bound - 1, bound});
    video->groups->Gather(std::move(sides));
    ranges = CutBounds(*video->groups, GetInfo().tracks[video->index], GetInfo().duration).Snap(ranges);
}

void CutSession::JoinToController()
{
    for (CutTrack& track : tracks)
    {
        if (!track.source)
            continue;
        // Whether a video track can be re-encoded is told by its beginning. Others are not read here, and a seek that
        // waits for that would hold back the next one of the video.
        if (track.source->GetMediaType() == MediaType::Video)
            SeekTo(*track.source, 0);
        // the search for an encoder joins its parameter sets to the format's
        track.header = track.source->GetFormatCodec()->GetExtradata();
        track.stream = controller->AddStream(track.source);
        const SP<Conf::IFormatCodec> format = track.stream->GetFormatCodec();
        const Core::Property& tree = format->GetProperties();
        const std::string& tag = Conf::IFormatCodecVideo::TAG_CUT_ANYWHERE;
        track.cutAnywhere = !tree.ChildExists(tag) || tree[tag].GetBool();
        if (!track.cutAnywhere)
            track.obstacle = FindCutObstacle(*track.source);
    }
}

/// Whether the output would show or let be heard what the source hides before 0, and can do without. Where a group of
/// pictures can't be parted there, all is kept: sound goes with its pictures.
bool CutSession::CanCutLead(const std::string& output, const std::string& format)
{
    if (output.empty() || ranges.front().start > 0 || Host::Container::Choose(output, format).CarriesEditLists())
        return false;
    bool hides = false;
    for (const CutTrack& track : tracks)
    {
        const avTime lead = track.source ? FindHiddenLead(*track.source) : 0;
        if (track.IsVideo() && lead > 0 && StaysWhole(track, 0))
            return false;
        hides |= lead > (track.IsVideo() ? 0 : longest_run_in);
    }
    return hides;
}

void CutSession::LeaveOutEmpty(bool video)
{
    KeptContent content(demuxer, ranges);
    std::erase_if(tracks,
                  [&](const CutTrack& track)
                  {
                      const Host::TrackInfo& info = GetInfo().tracks[static_cast<size_t>(track.index)];
                      if (track.IsVideo() != video || content.Holds(info, track.source))
                          return false;
                      warnings.push_back(fmt::format("track {} ({}, {}) is left out: it has nothing in the kept time",
                                                     info.index, KindName(info), info.codecName));
                      return true;
                  });
    if (!video && std::none_of(tracks.begin(), tracks.end(), [](const CutTrack& track) { return track.source; }))
        throw JobError(JobError::Failed, GetInfo().path + ": there is neither picture nor sound in the kept time");
}

/// What still lies in a group, of another track, is widened then.
void CutSession::BringToKeyFrames(Snap snap)
{
    for (const CutTrack& track : tracks)
    {
        if (!track.IsVideo())
            continue;
        const KeyFrameBounds bounds(
            *track.groups, GetInfo().duration, [&](avTime time) { return StaysWhole(track, time); },
            fmt::format("{}: track {} ({})", GetInfo().path, track.index,
                        track.cutAnywhere ? "its group of pictures is too large to be re-encoded" : track.obstacle));
        for (Range& range : ranges)
            range = bounds.Bring(range, snap);
        if (std::erase_if(ranges, [](const Range& range) { return range.start >= range.end; }) > 0)
            warnings.push_back(fmt::format("track {}: ranges between two key frames are left out", track.index));
        if (ranges.empty())
            throw JobError(JobError::Failed, GetInfo().path + ": no group of pictures lies in the kept time");
    }
}

void CutSession::AlignToGroups()
{
    // widened for one track the cut may run through a group of another one
    for (std::vector<Range> before; before != ranges;)
    {
        before = ranges;
        for (CutTrack& track : tracks)
            if (track.IsVideo())
                ranges = WidenToGroups(track);
    }
    for (CutTrack& track : tracks)
        if (track.IsVideo())
            track.untouched = TakesWholeGroups(track);
}

/// False where it is not certain.
bool CutSession::TakesWholeGroups(const CutTrack& track) const
{
    Proc::IStreamRaw& stream = *track.source;
    if (!keepsLead && FindHiddenLead(stream) > 0)
        return false;
    const avTime first = FindEntry(stream, 0);
    const auto parts = [&](avTime bound, bool begins)
    {
        if (bound <= first || bound >= GetInfo().duration)
            return false;
        const Seam seam = track.groups->FindSeam(bound);
        // an open group lacks its reference where a piece begins with it
        return seam.position != bound || (begins && seam.entry != bound);
    };
    return std::none_of(ranges.begin(), ranges.end(),
                        [&](const Range& range) { return parts(range.start, true) || parts(range.end, false); });
}

std::vector<Range> CutSession::WidenToGroups(CutTrack& track)
{
    std::vector<Range> wide;
    const avTime firstEntry = track.groups->FindEntry(0);
    avTime nextEntry = NoTime; // of the group after the last range
    for (const Range& asked : ranges)
    {
        Range range = asked;
        // only what begins inside of a group can be widened to its start
        const avTime entry = range.start > 0 ? track.groups->FindEntry(range.start) : range.start;
        if (entry < range.start && StaysWhole(track, range.start))
            range.start = entry;
        // with its first group the file is kept from its beginning, sound that comes before included
        if (range.start < asked.start && range.start <= firstEntry)
            range.start = 0;
        Seam seam{range.end, range.end};
        if (range.end >= GetInfo().duration)
            seam = {GetInfo().duration, MAX_DURATION};
        else if (StaysWhole(track, range.end - 1))
            seam = track.groups->FindSeam(range.end);
        range.end = seam.position == NoTime ? GetInfo().duration : seam.position;
        if (range.start < asked.start)
            NoteLargeGroup(track, asked.start);
        if (range.end > asked.end)
            NoteLargeGroup(track, asked.end - 1);
        // between a seam and the key picture after it there is nothing to gain
        if (!wide.empty() && range.start <= nextEntry)
            wide.back().end = std::max(wide.back().end, range.end);
        else
            wide.push_back(range);
        nextEntry = seam.entry == NoTime ? MAX_DURATION : seam.entry;
    }
    return wide;
}

bool CutSession::StaysWhole(const CutTrack& track, avTime time) const
{
    return !track.cutAnywhere || track.groups->FindGroup(time).IsTooLarge();
}

void CutSession::NoteLargeGroup(CutTrack& track, avTime time)
{
    if (!track.cutAnywhere)
        return;
    const Group& group = track.groups->FindGroup(time);
    std::vector<avTime>& known = track.largeGroups;
    if (std::find(known.begin(), known.end(), group.entry) != known.end())
        return;
    known.push_back(group.entry);
    warnings.push_back(fmt::format("track {}: the group of pictures from {} to {} is kept whole: with {:.1f} MB in {} "
                                   "it is too large to be re-encoded",
                                   track.index, T2S(group.start), T2S(group.end),
                                   static_cast<double>(group.bytes) / 1e6,
                                   Count(static_cast<long long>(group.pictures.size()), "packet")));
}

Proc::CutTimeline CutSession::MakeTimeline() const
{
    std::vector<Range> list = ranges;
    for (Range& range : list)
        range.start = std::max<avTime>(range.start, 0);
    return KeepRanges(list, GetInfo().duration, keepsLead);
}

} // namespace Tessor::Jobs
