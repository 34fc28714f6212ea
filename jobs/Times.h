#pragma once

#include "Fnd/Time.h"

#include <functional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What times on the command line may refer to.
struct TimeContext
{
    avTime duration = 0; ///< "end"
    /// Time of frame n in the order of display; throws JobError when there is no such frame.
    std::function<avTime(long long)> frameTime;
};

/// A half-open range of source time.
struct Range
{
    avTime start = 0, end = 0;

    bool operator==(const Range&) const = default;
};

/// Ranges as people write them and as programs know them, all of them together.
struct TESSOR_API RangeList
{
    std::vector<std::string> texts; ///< "A-B[,C-D]", as ParseRanges takes them
    std::vector<Range> times;

    bool IsEmpty() const { return texts.empty() && times.empty(); }
    /// One text for all.
    std::string GetText() const;
};

/// A time in one of FFmpeg's forms ([-][HH:]MM:SS[.m], S[.m][s|ms|us]), a frame ("123f"), "start" or "end". What is not
/// understood throws JobError.
TESSOR_API avTime ParseTime(const std::string& text, const TimeContext& context);

/// "A-B[,C-D]": an open end ("A-") reaches to the end. The option's name stands in messages. Ranges that are reversed,
/// empty, overlapping or beyond the end throw JobError.
TESSOR_API std::vector<Range> ParseRanges(const std::string& option, const std::string& text,
                                          const TimeContext& context);

/// What is left of 0 to the duration without the ranges.
TESSOR_API std::vector<Range> Complement(const std::vector<Range>& ranges, avTime duration);

/// Seconds for reports, exact to the microsecond.
TESSOR_API double Seconds(avTime time);

} // namespace Tessor::Jobs
