#include "jobs/cut/KeptRanges.h"

#include "jobs/JobError.h"
#include "jobs/cut/Groups.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tessor::Jobs
{

namespace
{

/// The time of a frame; one after the last one is the end, and one that many before the first one is the start.
avTime TimeOf(long long frame, const std::vector<avTime>& times, avTime duration)
{
    const long long count = static_cast<long long>(times.size());
    if (frame > count)
        throw JobError(JobError::BadRequest, fmt::format("there is no frame {}f: the video has {}", frame, count));
    const long long place = frame < 0 ? frame + count : frame;
    return place < 0 ? 0 : place == count ? duration : times[static_cast<size_t>(place)];
}

std::vector<AskedRange> ReadRanges(const std::string& option, const RangeList& list, const TimeContext& context)
{
    std::vector<AskedRange> ranges;
    for (const std::string& text : list.texts)
        for (AskedRange& range : ParseRanges("--" + option, text, context))
            ranges.push_back(std::move(range));
    for (const Range& range : list.times)
        ranges.push_back({range, "", fmt::format("{} {} to {}", option, T2S(range.start), T2S(range.end))});
    PutInOrder(ranges, context.duration);
    return ranges;
}

std::vector<AskedRange> Untitled(const std::vector<Range>& ranges)
{
    std::vector<AskedRange> asked;
    for (const Range& range : ranges)
        asked.push_back({range, "", ""});
    return asked;
}

} // namespace

TimeContext MakeTimeContext(const Host::MediaInfo& info, std::function<SP<Proc::IStreamRaw>()> video)
{
    const auto times = std::make_shared<std::vector<avTime>>(); // scanned once
    return {.duration = info.duration,
            .frameTime = [duration = info.duration, times, video = std::move(video)](long long frame)
            {
                const SP<Proc::IStreamRaw> stream = times->empty() ? video() : nullptr;
                if (stream)
                    *times = ScanPictureTimes(*stream);
                if (times->empty())
                    throw JobError(JobError::BadRequest, "frames can't be counted: there is no video");
                return TimeOf(frame, *times, duration);
            }};
}

std::vector<AskedRange> ReadKeptRanges(const RangeList& keep, const RangeList& remove, const Host::MediaInfo& info,
                                       const TimeContext& context, std::vector<std::string>& warnings)
{
    const bool keeps = !keep.IsEmpty();
    if (keeps == !remove.IsEmpty())
        throw JobError(JobError::BadRequest, "give either --keep or --remove");
    std::vector<AskedRange> list = keeps ? ReadRanges("keep", keep, context) : ReadRanges("remove", remove, context);
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

std::vector<Range> GetRanges(const std::vector<AskedRange>& asked)
{
    std::vector<Range> ranges;
    for (const AskedRange& one : asked)
        ranges.push_back(one.range);
    return ranges;
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
