#include "jobs/lists/ReportList.h"

#include "jobs/reports/DocumentParts.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace Tessor::Jobs
{

namespace
{

Json Parse(const ListText& text)
{
    std::string all;
    for (const std::string& line : text.GetLines())
        all += line + "\n";
    try
    {
        return Json::parse(all);
    }
    catch (const Json::parse_error& e)
    {
        const auto end = all.begin() + static_cast<std::ptrdiff_t>(std::min(e.byte, all.size()));
        text.Fail(static_cast<size_t>(std::count(all.begin(), end, '\n')), "is no JSON from here on");
    }
    catch (const Json::exception&) // a number beyond all that can be counted
    {
        text.Fail(0, "holds a number that is too large");
    }
}

bool IsTime(const Json& json)
{
    return json.is_number() && std::abs(json.get<double>()) <= Seconds(MAX_DURATION);
}

avTime ToTime(const Json& seconds)
{
    return std::llround(seconds.get<double>() * SECOND);
}

} // namespace

CutList ReportList::Read(const ListText& text, const TimeContext&) const
{
    const Json document = Parse(text);
    const auto intervals = document.find("intervals");
    if (intervals == document.end() || !intervals->is_array())
        text.Fail(0, "has no \"intervals\"");
    const Json titles = document.value("titles", Json::array());
    CutList list;
    for (size_t i = 0; i < intervals->size(); ++i)
    {
        const Json& pair = (*intervals)[i];
        if (!pair.is_array() || pair.size() != 2 || !IsTime(pair[0]) || !IsTime(pair[1]))
            text.Fail(0, "interval " + std::to_string(i + 1) + " is not [start, end] in seconds");
        const bool titled = titles.is_array() && i < titles.size() && titles[i].is_string();
        list.ranges.push_back({{ToTime(pair[0]), ToTime(pair[1])},
                               titled ? titles[i].get<std::string>() : "",
                               text.NameLine(0) + ": interval " + std::to_string(i + 1)});
    }
    return list;
}

std::string ReportList::Write(const std::vector<AskedRange>& ranges, const TimeContext&) const
{
    Json document = BeginDocument();
    document["intervals"] = RangesToJson(GetRanges(ranges));
    document["titles"] = Json::array();
    for (const AskedRange& asked : ranges)
        document["titles"].push_back(asked.title);
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace Tessor::Jobs
