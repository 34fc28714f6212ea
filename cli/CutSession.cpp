#include "cli/CutSession.h"

#include "cli/TrackSelection.h"
#include "cli/UserError.h"
#include "ffhost/codecs/CodecFactory.h"
#include "media/IFormatCodecVideo.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tessor::Cli
{

namespace
{

/// A picture this little in front of a bound is meant by it: neither times on the command line nor those of containers
/// are exact to the microsecond.
constexpr avTime snap_tolerance = 100;

/// The longest way forward to a picture: a slow frame. Pictures that stand for longer are cut where it was asked for.
constexpr avTime longest_snap = 100000;

/// Ticks of a millisecond round; those that are much coarser count frames.
constexpr avTime coarsest_rounding = 2000;

/// How much too late the container's ticks may tell a picture's time: frames that are no whole number of ticks have
/// rounded times.
avTime GetRounding(const Host::TrackInfo& track)
{
    const int64_t period = static_cast<int64_t>(track.frameRateDen) * track.timeBaseDen;
    const int64_t tick = static_cast<int64_t>(track.frameRateNum) * track.timeBaseNum;
    if (tick <= 0 || period % tick == 0 || track.timeBaseDen <= 0)
        return 0;
    const avTime length = 1000000LL * track.timeBaseNum / track.timeBaseDen;
    return length <= snap_tolerance ? 0 : std::min(length, coarsest_rounding);
}

/// How far before a picture's time players show it that count in frames from the file's start: the video may begin
/// between two of those. Pictures that these show later need nothing. Broadcasts are counted from the video's start.
avTime GetSlack(const Host::TrackInfo& track, bool broadcast)
{
    if (track.frameRateNum <= 0 || track.frameRateDen <= 0 || track.start == NoTime || track.start < 0)
        return 0;
    const avTime frame = 1000000LL * track.frameRateDen / track.frameRateNum;
    const avTime late = frame > 0 ? track.start % frame : 0;
    if (broadcast)
        return track.start < frame ? track.start : 0;
    // halfway ticks round one picture up and the next one down
    return late + std::max(GetRounding(track), snap_tolerance) < frame / 2 ? late : 0;
}

Proc::SettingsFilterCutController MakeSettings(const std::vector<Range>& ranges, avTime duration)
{
    Proc::SettingsFilterCutController settings;
    for (const Range& range : ranges)
    {
        // what reaches the end has no seam there
        const avTime end = range.end >= duration ? MAX_DURATION : range.end;
        settings.AddInterval(std::max<avTime>(range.start, 0), end, NoTime, false);
    }
    settings.UpdateOptimizedList();
    return settings;
}

std::vector<Range> Merged(std::vector<Range> ranges)
{
    std::vector<Range> merged;
    for (const Range& range : ranges)
    {
        if (!merged.empty() && range.start <= merged.back().end)
            merged.back().end = std::max(merged.back().end, range.end);
        else
            merged.push_back(range);
    }
    return merged;
}

} // namespace

CutSession::CutSession(const CutRequest& request) : demuxer(Host::Demuxer::Open(request.input))
{
    JoinTracks();
    ranges = Merged(SnapToPictures(FromFirstEntry(ReadRequest(request))));
    // a picture that begins in front of a piece is not part of it, though it still stands when the piece begins
    codecs = Host::CodecFactory::Create({.wanted = [cut = cut](avTime time) { return !cut->IsPointDeleted(time); }});
    controller = Proc::FilterCutController::Create(MakeSettings(ranges, GetInfo().duration), codecs);
    JoinToController();
    AlignToGroups();
    Apply(ranges);
}

CutTrack* CutSession::GetVideo()
{
    const auto found = std::find_if(tracks.begin(), tracks.end(),
                                    [&](const CutTrack& track)
                                    { return GetInfo().tracks[track.index].type == MediaType::Video && track.source; });
    return found == tracks.end() ? nullptr : &*found;
}

void CutSession::JoinTracks()
{
    for (const SelectedTrack& track : SelectTracks(*demuxer, warnings))
        tracks.push_back({track.index, track.stream, nullptr});
    if (std::none_of(tracks.begin(), tracks.end(), [](const CutTrack& track) { return track.source != nullptr; }))
        throw UserError(ExitCode::Failed, GetInfo().path + ": there is neither picture nor sound to cut");
}

TimeContext CutSession::MakeTimeContext()
{
    // scanned once, and only when a time is given as a frame
    const auto times = std::make_shared<std::vector<avTime>>();
    return {GetInfo().duration, [this, times](long long frame)
            {
                CutTrack* video = GetVideo();
                if (!video)
                    throw UserError(ExitCode::Usage, "frames can't be counted: there is no video");
                if (times->empty())
                    *times = ScanPictureTimes(*video->source);
                if (frame > static_cast<long long>(times->size()))
                    throw UserError(ExitCode::Usage,
                                    fmt::format("there is no frame {}f: the video has {}", frame, times->size()));
                return frame == static_cast<long long>(times->size()) ? GetInfo().duration : times->at(frame);
            }};
}

std::vector<Range> CutSession::ReadRequest(const CutRequest& request)
{
    const bool keeps = !request.keep.empty();
    if (keeps == !request.remove.empty())
        throw UserError(ExitCode::Usage, "give either --keep or --remove");
    const std::vector<std::string>& texts = keeps ? request.keep : request.remove;
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ",") + text;
    const TimeContext context = MakeTimeContext();
    std::vector<Range> list = ParseRanges(keeps ? "--keep" : "--remove", all, context);
    for (Range& range : list)
    {
        if (range.end <= context.duration)
            continue;
        warnings.push_back("a range ends beyond the end of the file, " + T2S(context.duration));
        range.end = context.duration;
    }
    if (!keeps)
        list = Complement(list, context.duration);
    if (list.empty())
        throw UserError(ExitCode::Usage, "nothing would be left of " + GetInfo().path);
    return list;
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
        throw UserError(ExitCode::Failed, GetInfo().path + ": nothing can be decoded before " + T2S(entry) +
                                              ", where the first key picture is");
    warnings.push_back("pictures before the first key picture, " + T2S(entry) + ", can't be decoded and are left out");
    return list;
}

std::vector<Range> CutSession::SnapToPictures(std::vector<Range> list)
{
    if (!GetVideo())
        return list;
    std::vector<std::pair<avTime*, Bound>> bounds;
    for (Range& range : list)
    {
        if (range.start > 0)
            bounds.emplace_back(&range.start, SnapStart(range));
        if (range.end < GetInfo().duration)
            bounds.emplace_back(&range.end, SnapEnd(range.end));
    }
    const Host::TrackInfo& track = GetInfo().tracks[GetVideo()->index];
    // All bounds give way alike, so that pictures keep their distance at the seams; key pictures can't, as their groups
    // are kept as they are.
    const bool keys = std::any_of(bounds.begin(), bounds.end(), [](const auto& b) { return b.second.picture.key; });
    const avTime before = GetRounding(track) + (keys ? 0 : GetSlack(track, GetInfo().broadcast));
    for (const auto& [place, bound] : bounds)
        *place = bound.picture.start == NoTime || bound.picture.key ? bound.time : bound.time - before;
    return list;
}

CutSession::Bound CutSession::SnapStart(const Range& range)
{
    const PicturesAround around = FindPictures(*GetVideo()->source, range.start);
    const avTime standing = around.standing.start, next = around.next.start;
    // the first picture gives way as any other, having no group before it
    const Host::TrackInfo& track = GetInfo().tracks[GetVideo()->index];
    if (standing == NoTime && next != NoTime &&
        next - GetSlack(track, GetInfo().broadcast) - GetRounding(track) <= range.start)
        return {next, {next, false}};
    // in front of the first picture and behind the last one there is nothing to cut through
    if (standing == NoTime || (next == NoTime && around.end <= range.start))
        return {range.start, {}};
    if (standing >= range.start - snap_tolerance)
        return {standing, around.standing};
    // the picture that stands at the start began before the piece; where it stands for long the piece begins with it
    const bool near = next != NoTime && next <= range.start + longest_snap && next < range.end - snap_tolerance;
    return near ? Bound{next, around.next} : Bound{standing, around.standing};
}

CutSession::Bound CutSession::SnapEnd(avTime end)
{
    const PicturesAround around = FindPictures(*GetVideo()->source, end);
    if (around.standing.start != NoTime && around.standing.start >= end - snap_tolerance)
        return {around.standing.start, around.standing};
    if (around.standing.start == NoTime)
        return {end, {}};
    if (around.next.start != NoTime)
        return around.next.start <= end + longest_snap ? Bound{around.next.start, around.next} : Bound{end, {}};
    // the last picture is kept to its end
    const bool within = around.end > end && around.end <= end + longest_snap;
    return {within ? std::min(around.end, GetInfo().duration) : end, {}};
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
        {
            track.source->RequestSeek(0, nullptr);
            track.source->DoSeek();
        }
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

void CutSession::AlignToGroups()
{
    for (CutTrack& track : tracks)
        if (!track.cutAnywhere)
            ranges = WidenToGroups(*track.source);
    for (CutTrack& track : tracks)
        if (track.source && track.source->GetMediaType() == MediaType::Video)
            track.untouched = TakesWholeGroups(*track.source);
}

/// False where it is not certain.
bool CutSession::TakesWholeGroups(Proc::IStreamRaw& stream) const
{
    const avTime first = FindEntry(stream, 0);
    const auto parts = [&](avTime bound, bool begins)
    {
        if (bound <= first || bound >= GetInfo().duration)
            return false;
        const Seam seam = FindSeam(stream, bound);
        // an open group lacks its reference where a piece begins with it
        return seam.position != bound || (begins && seam.entry != bound);
    };
    return std::none_of(ranges.begin(), ranges.end(),
                        [&](const Range& range) { return parts(range.start, true) || parts(range.end, false); });
}

std::vector<Range> CutSession::WidenToGroups(Proc::IStreamRaw& stream) const
{
    std::vector<Range> wide;
    const avTime firstEntry = FindEntry(stream, 0);
    avTime nextEntry = NoTime; // of the group behind the last range
    for (Range range : ranges)
    {
        if (range.start > 0)
            range.start = std::min(range.start, FindEntry(stream, range.start));
        // with its first group the file is kept from its beginning, sound that comes before included
        if (range.start <= firstEntry)
            range.start = 0;
        Seam seam;
        if (range.end < GetInfo().duration)
            seam = FindSeam(stream, range.end);
        range.end = seam.position == NoTime ? GetInfo().duration : seam.position;
        // between a seam and the key picture behind it there is nothing to gain
        if (!wide.empty() && range.start <= nextEntry)
            wide.back().end = std::max(wide.back().end, range.end);
        else
            wide.push_back(range);
        nextEntry = seam.entry == NoTime ? MAX_DURATION : seam.entry;
    }
    return wide;
}

void CutSession::Apply(const std::vector<Range>& list)
{
    const Proc::SettingsFilterCutController settings = MakeSettings(list, GetInfo().duration);
    *cut = settings;
    controller->Initialize(settings);
    demuxer->SetCut(settings);
}

} // namespace Tessor::Cli
