#include "jobs/lists/ChapterList.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <charconv>
#include <climits>
#include <fmt/format.h>
#include <optional>

namespace Tessor::Jobs
{

namespace
{

struct Line
{
    std::string key, value; // unescaped; the key of a section is "[NAME]", and of a comment empty
    size_t number = 0;
};

std::optional<long long> Number(const std::string& text)
{
    long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

/// A backslash takes what follows it as it is, the end of a line included.
class LineReader
{
public:
    explicit LineReader(const ListText& text) : text(text) {}

    bool HasMore() const { return next < text.GetLines().size(); }

    Line Read()
    {
        Line line{"", "", next};
        std::string* part = &line.key;
        const std::string& first = text.GetLines()[next];
        if (first.empty() || first.front() == ';' || first.front() == '#')
            ++next;
        else
            while (ReadPart(line, part))
                part->push_back('\n');
        return line;
    }

private:
    /// Whether the line goes on in the next one.
    bool ReadPart(Line& line, std::string*& part)
    {
        const std::string& current = text.GetLines()[next++];
        for (size_t i = 0; i < current.size(); ++i)
        {
            const char c = current[i];
            if (c == '\\' && i + 1 == current.size())
                return HasMore();
            if (c == '\\')
                part->push_back(current[++i]);
            else if (c == '=' && part == &line.key)
                part = &line.value;
            else
                part->push_back(c);
        }
        return false;
    }

    const ListText& text;
    size_t next = 0; // line
};

/// A chapter as far as it has been read.
struct Chapter
{
    size_t line = 0;
    AVRational timeBase{1, 1000000000};
    std::optional<long long> start, end;
    std::string title;
};

class Chapters
{
public:
    Chapters(const ListText& text, const TimeContext& context) : text(text), context(context) {}

    std::vector<AskedRange> Read()
    {
        LineReader reader(text);
        while (reader.HasMore())
            Take(reader.Read());
        return MakeRanges();
    }

private:
    void Take(const Line& line)
    {
        if (line.key.starts_with('['))
        {
            if (line.key == "[CHAPTER]")
                chapters.emplace_back().line = line.number;
            inChapter = line.key == "[CHAPTER]";
        }
        else if (inChapter && line.key == "TIMEBASE")
            chapters.back().timeBase = ReadTimeBase(line);
        else if (inChapter && (line.key == "START" || line.key == "END"))
            (line.key == "START" ? chapters.back().start : chapters.back().end) = ReadNumber(line);
        else if (inChapter && line.key == "title")
            chapters.back().title = line.value;
    }

    long long ReadNumber(const Line& line) const
    {
        const std::optional<long long> number = Number(Trimmed(line.value));
        if (!number)
            text.Fail(line.number, "\"" + line.value + "\" is no whole number");
        return *number;
    }

    AVRational ReadTimeBase(const Line& line) const
    {
        const size_t slash = line.value.find('/');
        const std::optional<long long> num = Number(Trimmed(line.value.substr(0, slash)));
        const std::optional<long long> den =
            slash == std::string::npos ? std::nullopt : Number(Trimmed(line.value.substr(slash + 1)));
        if (!num || !den || *num <= 0 || *den <= 0 || *num > INT_MAX || *den > INT_MAX)
            text.Fail(line.number, "\"" + line.value + "\" is no time base");
        return {static_cast<int>(*num), static_cast<int>(*den)};
    }

    avTime ToTime(const Chapter& chapter, long long ticks) const
    {
        const avTime time = av_rescale_q(ticks, chapter.timeBase, {1, static_cast<int>(SECOND)});
        if (time < 0 || time > MAX_DURATION)
            text.Fail(chapter.line, "the chapter lies outside of any file");
        return time;
    }

    /// A chapter without an end lasts until the next one.
    std::vector<AskedRange> MakeRanges() const
    {
        std::vector<AskedRange> ranges;
        avTime next = context.duration;
        for (auto chapter = chapters.rbegin(); chapter != chapters.rend(); ++chapter)
        {
            if (!chapter->start)
                text.Fail(chapter->line, "the chapter has no start");
            const avTime start = ToTime(*chapter, *chapter->start);
            const avTime end = chapter->end ? ToTime(*chapter, *chapter->end) : next;
            ranges.push_back({{start, end}, chapter->title, text.NameLine(chapter->line)});
            next = start;
        }
        std::reverse(ranges.begin(), ranges.end());
        return ranges;
    }

    const ListText& text;
    const TimeContext& context;
    std::vector<Chapter> chapters; // in the order of the file
    bool inChapter = false;        // the section that is read is one
};

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text)
    {
        if (std::string("=;#\\\n").find(c) != std::string::npos)
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

} // namespace

CutList ChapterList::Read(const ListText& text, const TimeContext& context) const
{
    return {Chapters(text, context).Read(), {}};
}

std::string ChapterList::Write(const std::vector<AskedRange>& ranges, const TimeContext&) const
{
    std::string text = ";FFMETADATA1\n";
    for (const AskedRange& asked : ranges)
        text += fmt::format("[CHAPTER]\nTIMEBASE=1/1000000\nSTART={}\nEND={}\ntitle={}\n", asked.range.start,
                            asked.range.end, Escaped(asked.title));
    return text;
}

} // namespace Tessor::Jobs
