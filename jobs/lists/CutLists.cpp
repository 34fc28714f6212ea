#include "jobs/lists/CutLists.h"

#include "jobs/JobError.h"
#include "jobs/lists/ChapterList.h"
#include "jobs/lists/CsvList.h"
#include "jobs/lists/ReportList.h"
#include "jobs/lists/SkipList.h"
#include "jobs/lists/TimecodeList.h"

#include <algorithm>

namespace Tessor::Jobs
{

namespace
{

std::vector<AskedRange> Rest(std::vector<AskedRange> ranges, avTime duration)
{
    PutInOrder(ranges, duration);
    std::vector<AskedRange> rest;
    for (const Range& range : Complement(GetRanges(ranges), duration))
        rest.push_back({range, "", ranges.empty() ? "" : ranges.front().origin});
    return rest;
}

} // namespace

const std::vector<std::unique_ptr<const CutListFormat>>& GetCutListFormats()
{
    static const std::vector<std::unique_ptr<const CutListFormat>> formats = []
    {
        std::vector<std::unique_ptr<const CutListFormat>> all;
        all.push_back(std::make_unique<ReportList>());
        all.push_back(std::make_unique<ChapterList>());
        all.push_back(std::make_unique<TimecodeList>());
        all.push_back(std::make_unique<SkipList>());
        all.push_back(std::make_unique<CsvList>()); // last: it takes whatever has a line
        return all;
    }();
    return formats;
}

std::string ListCutListFormats()
{
    std::string names;
    for (const auto& format : GetCutListFormats())
        names += (names.empty() ? "" : ", ") + format->GetName();
    return names;
}

const CutListFormat& ChooseCutListFormat(const std::string& path, const std::string& name)
{
    for (const auto& format : GetCutListFormats())
        if (name.empty() ? path.ends_with(format->GetExtension()) : format->GetName() == name)
            return *format;
    throw JobError(JobError::BadRequest,
                   name.empty() ? path + ": no format of cut lists has this extension; there are " +
                                      ListCutListFormats() + " (--list-format)"
                                : name + ": no format of cut lists has this name; there are " + ListCutListFormats());
}

CutList ReadCutList(const ListText& text, const TimeContext& context, bool remove)
{
    for (const auto& format : GetCutListFormats())
    {
        if (!format->IsIn(text))
            continue;
        CutList list = format->Read(text, context);
        if (format->ListsRemoved() && !remove)
            list.ranges = Rest(std::move(list.ranges), context.duration);
        return list;
    }
    text.Fail(0, "the list is empty");
}

std::string WriteCutList(const CutListFormat& format, const std::vector<AskedRange>& kept, const TimeContext& context)
{
    return format.Write(format.ListsRemoved() ? Rest(kept, context.duration) : kept, context);
}

} // namespace Tessor::Jobs
