#include "jobs/lists/ChapterNumbers.h"

#include "jobs/JobError.h"
#include "jobs/lists/ListText.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <fmt/format.h>
#include <regex>

namespace Tessor::Jobs
{

namespace
{

std::string TitleOf(const Host::ChapterInfo& chapter)
{
    for (const auto& [key, value] : chapter.tags)
        if (boost::iequals(key, "title"))
            return value;
    return "";
}

class ChapterReader
{
public:
    ChapterReader(std::string origin, const Host::MediaInfo& info) : origin(std::move(origin)), info(info) {}

    std::vector<AskedRange> Read(const std::string& text)
    {
        // a title may hold a comma, too
        if (!AddTitled(text))
        {
            std::vector<std::string> items;
            boost::algorithm::split(items, text, [](char c) { return c == ','; });
            for (const std::string& item : items)
                ReadItem(Trimmed(item));
        }
        return std::move(ranges);
    }

private:
    void ReadItem(const std::string& item)
    {
        static const std::regex numbers("([0-9]{1,9})(-([0-9]{1,9})?)?");
        std::smatch parts;
        if (std::regex_match(item, parts, numbers))
        {
            const size_t first = std::stoul(parts[1]);
            const size_t last = !parts[2].matched  ? first
                                : parts[3].matched ? std::stoul(parts[3])
                                                   : info.chapters.size();
            if (first < 1 || last < first || last > info.chapters.size())
                Refuse(item);
            for (size_t number = first; number <= last; ++number)
                Add(number - 1);
        }
        else if (!AddTitled(item))
            Refuse(item);
    }

    bool AddTitled(const std::string& title)
    {
        const size_t before = ranges.size();
        for (size_t i = 0; i < info.chapters.size(); ++i)
            if (boost::iequals(TitleOf(info.chapters[i]), title))
                Add(i);
        return ranges.size() > before;
    }

    void Add(size_t place)
    {
        const Host::ChapterInfo& chapter = info.chapters[place];
        // some writers let the last one reach far beyond the file
        const Range range{std::max<avTime>(chapter.start, 0), std::min(chapter.end, info.duration)};
        if (range.start < range.end)
            ranges.push_back({range, TitleOf(chapter), origin});
    }

    [[noreturn]] void Refuse(const std::string& item) const
    {
        throw JobError(JobError::BadRequest, fmt::format("{}: there is no chapter \"{}\" in {}, which has {}", origin,
                                                         item, info.path, info.chapters.size()));
    }

    const std::string origin;
    const Host::MediaInfo& info;
    std::vector<AskedRange> ranges;
};

} // namespace

std::vector<AskedRange> ParseChapters(const std::string& option, const std::string& text, const Host::MediaInfo& info)
{
    return ChapterReader(option + " " + text, info).Read(text);
}

} // namespace Tessor::Jobs
