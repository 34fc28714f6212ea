#include "jobs/cut/KeptRanges.h"

#include "ffhost/streams/FieldJoiner.h"
#include "jobs/JobError.h"
#include "jobs/TrackSelection.h"
#include "jobs/cut/Groups.h"
#include "jobs/lists/ChapterNumbers.h"
#include "jobs/lists/CutLists.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tessor::Jobs
{

namespace
{

/// The time of a frame; one after the last one is the end, and one that many before the first one is the start.
/// Where the frames of a file begin. They are looked up when one is asked for, and once.
class FrameTimes
{
public:
    FrameTimes(std::function<SP<Proc::IStreamRaw>()> video, avTime duration)
        : video(std::move(video)), duration(duration)
    {
    }

    avTime OfFrame(long long frame)
    {
        LookUp();
        const long long count = static_cast<long long>(times.size());
        if (frame > count)
            throw JobError(JobError::BadRequest, fmt::format("there is no frame {}f: the video has {}", frame, count));
        const long long place = frame < 0 ? frame + count : frame;
        return place < 0 ? 0 : place == count ? duration : times[static_cast<size_t>(place)];
    }

    avTime Nearest(avTime afterFirst)
    {
        LookUp();
        const avTime wanted = AddTime(times.front(), afterFirst);
        const auto next = std::lower_bound(times.begin(), times.end(), wanted);
        const avTime after = next == times.end() ? duration : *next;
        return next != times.begin() && wanted - *(next - 1) < after - wanted ? *(next - 1) : after;
    }

private:
    void LookUp()
    {
        const SP<Proc::IStreamRaw> stream = times.empty() ? video() : nullptr;
        if (stream)
            times = ScanPictureTimes(*stream);
        if (times.empty())
            throw JobError(JobError::BadRequest, "frames can't be counted: there is no video");
    }

    const std::function<SP<Proc::IStreamRaw>()> video;
    const avTime duration;
    std::vector<avTime> times; // in order; empty until they are looked up
};

/// All that was asked for, whichever way.
class RangeReader
{
public:
    RangeReader(const Host::MediaInfo& info, const TimeContext& context, std::vector<std::string>& warnings)
        : info(info), context(context), warnings(warnings)
    {
    }

    std::vector<AskedRange> Read(const RangeList& list, bool remove)
    {
        const std::string option = remove ? "--remove" : "--keep";
        for (const std::string& text : list.texts)
            Add(ParseRanges(option, text, context));
        for (const Range& range : list.times)
            ranges.push_back({range, "", fmt::format("{} {} to {}", option, T2S(range.start), T2S(range.end))});
        for (const std::string& text : list.chapters)
            Add(ParseChapters(option + "-chapters", text, info));
        for (const std::string& file : list.files)
            AddFile(file, remove);
        PutInOrder(ranges, context.duration);
        return std::move(ranges);
    }

private:
    void Add(const std::vector<AskedRange>& more) { ranges.insert(ranges.end(), more.begin(), more.end()); }

    void AddFile(const std::string& file, bool remove)
    {
        CutList list = ReadCutList(ListText::Open(file), context, remove);
        if (list.ranges.empty())
            throw JobError(JobError::BadRequest, file + ": the list " + (remove ? "removes" : "keeps") + " nothing");
        Add(list.ranges);
        warnings.insert(warnings.end(), list.warnings.begin(), list.warnings.end());
    }

    const Host::MediaInfo& info;
    const TimeContext& context;
    std::vector<std::string>& warnings;
    std::vector<AskedRange> ranges; // as they stand, until all are read
};

/// The first of those that are wanted, or else of all; null where there is none.
const Host::TrackInfo* FindVideo(const Host::MediaInfo& info, const std::string& wanted)
{
    const Host::TrackInfo* first = nullptr;
    const std::set<int> named = FindTracks(info, wanted);
    for (const Host::TrackInfo& track : info.tracks)
    {
        if (!track.IsDense() || track.type != MediaType::Video)
            continue;
        if (named.contains(track.index))
            return &track;
        first = first ? first : &track;
    }
    return first;
}

/// Empty where no track has one.
std::string FindTimecode(const Host::MediaInfo& info)
{
    const auto find = [](const Host::Tags& tags)
    {
        const auto found =
            std::find_if(tags.begin(), tags.end(), [](const auto& tag) { return tag.first == "timecode"; });
        return found == tags.end() ? std::string() : found->second;
    };
    std::string timecode = find(info.tags);
    for (const Host::TrackInfo& track : info.tracks)
        if (timecode.empty())
            timecode = find(track.tags);
    return timecode;
}

std::vector<AskedRange> Untitled(const std::vector<Range>& ranges)
{
    std::vector<AskedRange> asked;
    asked.reserve(ranges.size());
    for (const Range& range : ranges)
        asked.push_back({range, "", ""});
    return asked;
}

} // namespace

TimeContext MakeTimeContext(const Host::MediaInfo& info, std::function<SP<Proc::IStreamRaw>()> video)
{
    const auto times = std::make_shared<FrameTimes>(std::move(video), info.duration);
    TimeContext context{.duration = info.duration,
                        .frameTime = [times](long long frame) { return times->OfFrame(frame); },
                        .timecode = FindTimecode(info),
                        .nearestFrame = [times](avTime time) { return times->Nearest(time); }};
    const auto track = std::find_if(info.tracks.begin(), info.tracks.end(),
                                    [](const Host::TrackInfo& candidate)
                                    { return candidate.IsDense() && candidate.type == MediaType::Video; });
    if (track != info.tracks.end())
    {
        context.frameRateNum = track->frameRateNum;
        context.frameRateDen = track->frameRateDen;
        context.firstFrame = std::max<avTime>(track->start, 0); // an unknown one is below all others
    }
    return context;
}

std::vector<AskedRange> ReadKeptRanges(const RangeList& keep, const RangeList& remove, const Host::MediaInfo& info,
                                       const TimeContext& context, std::vector<std::string>& warnings)
{
    const bool keeps = !keep.IsEmpty();
    if (keeps == !remove.IsEmpty())
        throw JobError(JobError::BadRequest, "give either what to keep or what to remove: --keep or --remove");
    std::vector<AskedRange> list = RangeReader(info, context, warnings).Read(keeps ? keep : remove, !keeps);
    for (AskedRange& asked : list)
    {
        if (asked.range.end <= context.duration)
            continue;
        warnings.push_back("a range ends beyond the end of the file, " + T2S(context.duration));
        asked.range.end = context.duration;
    }
    if (!keeps)
        list = Untitled(Complement(GetRanges(list), context.duration));
    if (list.empty())
        throw JobError(JobError::BadRequest, "nothing would be left of " + info.path);
    return list;
}

std::vector<AskedRange> ReadKeptRanges(const RangeList& keep, const RangeList& remove, const Host::Demuxer& demuxer,
                                       const std::string& tracks, std::vector<std::string>& warnings)
{
    const Host::MediaInfo& info = demuxer.GetInfo();
    // a stream that is taken counts as one that is read
    const auto video = [&]() -> SP<Proc::IStreamRaw>
    {
        const Host::TrackInfo* const track = FindVideo(info, tracks);
        return track ? Host::FieldJoiner::Create(demuxer.OpenAgain()->GetStream(track->index), *track) : nullptr;
    };
    return ReadKeptRanges(keep, remove, info, MakeTimeContext(info, video), warnings);
}

Proc::CutTimeline KeepRanges(const std::vector<Range>& kept, avTime duration, bool keepsLead)
{
    // all is deleted, and then kept where a later interval lies over it
    std::deque<Proc::CutInterval> intervals{{0, std::max(duration, MAX_DURATION), NoTime, true}};
    for (const Range& range : kept)
        intervals.push_back({range.start, range.end >= duration ? MAX_DURATION : range.end, NoTime, false});
    if (!keepsLead)
        intervals.push_back({-MAX_DURATION, 0, NoTime, true});
    return Proc::CutTimeline(intervals);
}

std::vector<Range> GetKeptRanges(const Proc::CutTimeline& cut, avTime duration)
{
    std::vector<Range> ranges;
    for (const Proc::CutInterval& interval : cut.GetIntervals())
    {
        if (!interval.deleted && interval.start < duration)
            ranges.push_back({interval.start, std::min(interval.end, duration)});
    }
    return ranges;
}

std::vector<Host::ChapterInfo> MapChapters(const Host::MediaInfo& source, const Proc::CutTimeline& cut)
{
    std::vector<Host::ChapterInfo> chapters;
    for (Host::ChapterInfo chapter : source.chapters)
    {
        chapter.start = cut.Source2Result(chapter.start);
        // some writers let the last chapter reach far beyond the file
        chapter.end = cut.Source2Result(std::min(chapter.end, source.duration));
        if (chapter.start < chapter.end)
            chapters.push_back(chapter);
    }
    return chapters;
}

} // namespace Tessor::Jobs
