#pragma once

#include "Fnd/Time.h"

#include <functional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What times that people write may refer to.
struct TimeContext
{
    avTime duration = 0; ///< "end"
    /// Time of frame n in the order of display, counted from the end where n is negative; throws JobError when there is
    /// no such frame.
    std::function<avTime(long long)> frameTime;
    int frameRateNum = 0, frameRateDen = 1; ///< for lists that count frames; 0 when unknown
    std::string timecode = {};              ///< of the first frame; empty where the file has none
    avTime firstFrame = 0;                  ///< where the first frame begins
    /// Where the frame begins that is nearest to a time counted from the start of the first one; null where nobody
    /// looks frames up.
    std::function<avTime(avTime)> nearestFrame = nullptr;
};

/// A half-open range of source time.
struct Range
{
    avTime start = 0, end = 0;

    bool operator==(const Range&) const = default;
};

/// A range that somebody asked for.
struct AskedRange
{
    Range range;
    std::string title;  ///< often empty
    std::string origin; ///< where it was asked for ("--keep 1-2", "list.csv:3"), for messages
};

/// Ranges as people write them and as programs know them, all of them together.
struct TESSOR_API RangeList
{
    std::vector<std::string> texts; ///< "A-B[,C-D]", as ParseRanges takes them
    std::vector<Range> times;
    std::vector<std::string> files = {};    ///< names of cut lists
    std::vector<std::string> chapters = {}; ///< "2,4-6" or a title

    bool IsEmpty() const { return texts.empty() && times.empty() && files.empty() && chapters.empty(); }
};

/// A time in one of FFmpeg's forms ([HH:]MM:SS[.m], S[.m][s|ms|us], and minutes or hours with m or h) or a frame
/// ("123f"), with a minus counted back from the end ("-5", "-30f") but never beyond the start, "start" or "end". What
/// is not understood throws JobError.
TESSOR_API avTime ParseTime(const std::string& text, const TimeContext& context);

/// A length of time above 0, in one of the forms of times. What is none, such as a frame, throws JobError with the name
/// of the option.
TESSOR_API avTime ParseLength(const std::string& option, const std::string& text);

/// "A-B[,C-D]", as they stand: an open end ("A-") reaches to the end, and as both may be negative "-10--5" are the last
/// ten seconds without the last five. The option's name stands in messages.
TESSOR_API std::vector<AskedRange> ParseRanges(const std::string& option, const std::string& text,
                                               const TimeContext& context);

/// Sorts them. Ranges that are reversed, empty, overlapping or beyond the end throw JobError.
TESSOR_API void PutInOrder(std::vector<AskedRange>& ranges, avTime duration);

/// Without what was said of them.
TESSOR_API std::vector<Range> GetRanges(const std::vector<AskedRange>& asked);

/// What is left of 0 to the duration without the ranges.
TESSOR_API std::vector<Range> Complement(const std::vector<Range>& ranges, avTime duration);

/// Seconds for reports, exact to the microsecond.
TESSOR_API double Seconds(avTime time);

} // namespace Tessor::Jobs
