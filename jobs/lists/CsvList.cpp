#include "jobs/lists/CsvList.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

using Row = std::vector<std::string>;

/// Reads rows, which a quoted cell may spread over several lines.
class RowReader
{
public:
    explicit RowReader(const ListText& text) : text(text) {}

    bool HasMore() const { return line < text.GetLines().size(); }
    size_t GetLine() const { return line; }

    Row ReadRow()
    {
        Row row(1);
        const size_t first = line;
        for (place = 0; place < Current().size();)
        {
            const char c = Current()[place++];
            if (c == ',')
                row.emplace_back();
            else if (c == '"' && Trimmed(row.back()).empty())
                row.back() = ReadQuoted(first);
            else
                row.back() += c;
        }
        ++line;
        return row;
    }

private:
    const std::string& Current() const { return text.GetLines()[line]; }

    std::string ReadQuoted(size_t first)
    {
        std::string cell;
        for (;;)
        {
            if (place == Current().size())
            {
                cell += '\n';
                place = 0;
                if (++line == text.GetLines().size())
                    text.Fail(first, "a quote is not closed");
                continue;
            }
            const char c = Current()[place++];
            if (c != '"')
                cell += c;
            else if (place < Current().size() && Current()[place] == '"')
                cell += Current()[place++];
            else
                return cell;
        }
    }

    const ListText& text;
    size_t line = 0;  // the one that is read
    size_t place = 0; // in it, while a row is read
};

bool IsBlank(const Row& row)
{
    return row.size() == 1 && Trimmed(row.front()).empty();
}

bool IsHeader(const Row& row)
{
    const std::string first = Trimmed(row.front()), second = row.size() > 1 ? Trimmed(row[1]) : "";
    // "start" and "end" are times as well
    if (boost::iequals(first, "start") && boost::iequals(second, "end"))
        return true;
    const auto isWord = [](unsigned char c) { return std::isalpha(c) || std::isspace(c) || c == '_' || c == '-'; };
    return !first.empty() && !boost::iequals(first, "start") && std::all_of(first.begin(), first.end(), isWord) &&
           std::all_of(second.begin(), second.end(), isWord);
}

std::string Quoted(const std::string& title)
{
    if (title.find_first_of(",\"\r\n") == std::string::npos && Trimmed(title) == title)
        return title;
    return '"' + boost::replace_all_copy(title, "\"", "\"\"") + '"';
}

} // namespace

CutList CsvList::Read(const ListText& text, const TimeContext& context) const
{
    CutList list;
    RowReader reader(text);
    for (bool begun = false; reader.HasMore();)
    {
        const size_t line = reader.GetLine();
        const Row row = reader.ReadRow();
        const bool header = !begun && IsHeader(row);
        if (IsBlank(row))
            continue;
        begun = true;
        if (header)
            continue;
        if (row.size() < 2)
            text.Fail(line, "start,end[,title] is wanted");
        const auto read = [&](size_t cell, const char* open)
        {
            const std::string time = Trimmed(row[cell]);
            return text.ReadTime(line, time.empty() ? open : time, context);
        };
        list.ranges.push_back(
            {{read(0, "start"), read(1, "end")}, row.size() > 2 ? Trimmed(row[2]) : "", text.NameLine(line)});
    }
    return list;
}

std::string CsvList::Write(const std::vector<AskedRange>& ranges, const TimeContext&) const
{
    std::string text;
    for (const AskedRange& asked : ranges)
        text += fmt::format("{:.6f},{:.6f},{}\n", Seconds(asked.range.start), Seconds(asked.range.end),
                            Quoted(asked.title));
    return text;
}

} // namespace Tessor::Jobs
