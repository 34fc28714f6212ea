#include "jobs/cut/KeptRanges.h"

#include "jobs/JobError.h"
#include "jobs/cut/Groups.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tessor::Jobs
{

TimeContext MakeTimeContext(avTime duration, std::function<SP<Proc::IStreamRaw>()> video)
{
    const auto times = std::make_shared<std::vector<avTime>>(); // scanned once
    return {duration, [duration, times, video = std::move(video)](long long frame)
            {
                const SP<Proc::IStreamRaw> stream = times->empty() ? video() : nullptr;
                if (stream)
                    *times = ScanPictureTimes(*stream);
                if (times->empty())
                    throw JobError(JobError::BadRequest, "frames can't be counted: there is no video");
                if (frame > static_cast<long long>(times->size()))
                    throw JobError(JobError::BadRequest,
                                   fmt::format("there is no frame {}f: the video has {}", frame, times->size()));
                return frame == static_cast<long long>(times->size()) ? duration
                                                                      : times->at(static_cast<size_t>(frame));
            }};
}

std::vector<Range> ReadKeptRanges(const RangeList& keep, const RangeList& remove, const std::string& path,
                                  const TimeContext& context, std::vector<std::string>& warnings)
{
    const bool keeps = !keep.IsEmpty();
    if (keeps == !remove.IsEmpty())
        throw JobError(JobError::BadRequest, "give either --keep or --remove");
    std::vector<Range> list =
        keeps ? ParseRanges("--keep", keep.GetText(), context) : ParseRanges("--remove", remove.GetText(), context);
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
        throw JobError(JobError::BadRequest, "nothing would be left of " + path);
    return list;
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
