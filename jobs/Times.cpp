#include "jobs/Times.h"

#include "jobs/JobError.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace Tessor::Jobs
{

namespace
{

[[noreturn]] void Refuse(const std::string& text)
{
    throw JobError(JobError::BadRequest, text);
}

std::optional<long long> Digits(const std::string& text)
{
    long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || text[0] == '-' || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// "S[.m]" in units of 1/scale; digits beyond the microsecond are dropped.
std::optional<avTime> Decimal(const std::string& text, avTime scale)
{
    const size_t dot = text.find('.');
    const std::optional<long long> whole = Digits(text.substr(0, dot));
    if (!whole || *whole > MAX_DURATION / scale)
        return std::nullopt;
    avTime time = *whole * scale;
    if (dot == std::string::npos)
        return time;
    avTime place = scale;
    const std::string fraction = text.substr(dot + 1);
    if (fraction.empty())
        return std::nullopt;
    for (const char c : fraction)
    {
        if (c < '0' || c > '9')
            return std::nullopt;
        // beyond the microsecond a place is worth nothing
        place /= 10;
        time += (c - '0') * place;
    }
    return time;
}

bool TakeSuffix(std::string& text, const std::string& suffix)
{
    if (!text.ends_with(suffix))
        return false;
    text.resize(text.size() - suffix.size());
    return true;
}

std::optional<avTime> Clock(const std::string& text)
{
    // "[HH:]MM:SS[.m]": without hours the minutes may be any number, up to the longest duration there is (30 days)
    const size_t last = text.rfind(':');
    const std::string front = text.substr(0, last);
    const size_t first = front.find(':');
    const std::optional<long long> hours = first == std::string::npos ? 0 : Digits(front.substr(0, first));
    const std::optional<long long> minutes = Digits(first == std::string::npos ? front : front.substr(first + 1));
    const std::optional<avTime> seconds = Decimal(text.substr(last + 1), SECOND);
    if (!hours || !minutes || !seconds || *hours > 720 || (first != std::string::npos && *minutes > 59) ||
        *minutes > 43200 || *seconds >= 60 * SECOND)
        return std::nullopt;
    return (*hours * 3600 + *minutes * 60) * SECOND + *seconds;
}

std::optional<avTime> Unsigned(std::string text)
{
    if (text.find(':') != std::string::npos)
        return Clock(text);
    // the longest first: all of them end with an s
    if (TakeSuffix(text, "us"))
        return Decimal(text, 1);
    if (TakeSuffix(text, "ms"))
        return Decimal(text, MILLISECOND);
    if (TakeSuffix(text, "m"))
        return Decimal(text, 60 * SECOND);
    if (TakeSuffix(text, "h"))
        return Decimal(text, 3600 * SECOND);
    TakeSuffix(text, "s");
    return Decimal(text, SECOND);
}

AskedRange ParseRange(const std::string& option, const std::string& text, const TimeContext& context)
{
    // a minus at the front is a sign
    const size_t dash = text.find('-', 1);
    if (dash == std::string::npos)
        Refuse(option + " " + text + ": a range is written A-B");
    const std::string end = text.substr(dash + 1);
    const Range range{ParseTime(text.substr(0, dash), context), ParseTime(end.empty() ? "end" : end, context)};
    return {range, "", option + " " + text};
}

} // namespace

avTime ParseTime(const std::string& text, const TimeContext& context)
{
    if (text == "start")
        return 0;
    if (text == "end")
        return context.duration;
    const bool fromEnd = text.starts_with('-');
    const std::string amount = text.substr(fromEnd);
    if (amount.ends_with('f'))
    {
        if (const std::optional<long long> frame = Digits(amount.substr(0, amount.size() - 1)))
            return fromEnd && *frame == 0 ? context.duration : context.frameTime(fromEnd ? -*frame : *frame);
    }
    const std::optional<avTime> time = Unsigned(amount);
    if (!time || *time > MAX_DURATION)
        Refuse(
            "\"" + text +
            "\" is no time: [HH:]MM:SS[.m], S[.m][s|ms|us|m|h], 123f, with a minus for before the end, start or end");
    return fromEnd ? std::max<avTime>(context.duration - *time, 0) : *time;
}

avTime ParseLength(const std::string& option, const std::string& text)
{
    const std::optional<avTime> length = Unsigned(text);
    if (!length || *length == 0 || *length > MAX_DURATION)
        Refuse(option + " " + text + ": a length of time is wanted, such as 10, 1:30 or 500ms");
    return *length;
}

std::vector<AskedRange> ParseRanges(const std::string& option, const std::string& text, const TimeContext& context)
{
    std::vector<AskedRange> ranges;
    for (size_t begin = 0; begin <= text.size();)
    {
        const size_t comma = std::min(text.find(',', begin), text.size());
        ranges.push_back(ParseRange(option, text.substr(begin, comma - begin), context));
        begin = comma + 1;
    }
    return ranges;
}

void PutInOrder(std::vector<AskedRange>& ranges, avTime duration)
{
    for (const AskedRange& asked : ranges)
    {
        if (asked.range.end <= asked.range.start)
            Refuse(asked.origin + ": the range ends before it begins");
        if (asked.range.start >= duration)
            Refuse(asked.origin + ": the range lies beyond the end, " + T2S(duration));
    }
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const AskedRange& a, const AskedRange& b) { return a.range.start < b.range.start; });
    for (size_t i = 1; i < ranges.size(); ++i)
    {
        if (ranges[i].range.start < ranges[i - 1].range.end)
            Refuse(ranges[i].origin + ": ranges overlap at " + T2S(ranges[i].range.start));
    }
}

std::vector<Range> GetRanges(const std::vector<AskedRange>& asked)
{
    std::vector<Range> ranges;
    ranges.reserve(asked.size());
    for (const AskedRange& one : asked)
        ranges.push_back(one.range);
    return ranges;
}

std::vector<Range> Complement(const std::vector<Range>& ranges, avTime duration)
{
    std::vector<Range> rest;
    avTime from = 0;
    for (const Range& range : ranges)
    {
        if (range.start > from)
            rest.push_back({from, range.start});
        from = std::max(from, range.end);
    }
    if (from < duration)
        rest.push_back({from, duration});
    return rest;
}

double Seconds(avTime time)
{
    return static_cast<double>(time) / SECOND;
}

} // namespace Tessor::Jobs
