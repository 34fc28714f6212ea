#pragma once

#include "Fnd/Time.h"
#include "jobs/Times.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// The text of a list, line by line, without a byte order mark and whatever the ends of its lines are.
class TESSOR_API ListText
{
public:
    /// The path is for messages.
    ListText(std::string path, const std::string& text);
    /// Throws JobError where it can't be read or is no text.
    static ListText Open(const std::string& path);

    const std::vector<std::string>& GetLines() const { return lines; }
    /// "FILE:LINE", lines counted from 0 here and from 1 there.
    std::string NameLine(size_t line) const;
    /// Throws JobError "FILE:LINE: cause".
    [[noreturn]] void Fail(size_t line, const std::string& cause) const;
    /// The time in one of the forms that people write; a failure names the line.
    avTime ReadTime(size_t line, const std::string& text, const TimeContext& context) const;
    /// The first line that is neither empty nor begins with `comment`; empty where there is none.
    std::string GetFirstLine(char comment = '\0') const;

private:
    const std::string path;
    std::vector<std::string> lines;
};

/// Without blanks at both ends.
std::string Trimmed(const std::string& text);

/// What blanks part.
std::vector<std::string> Words(const std::string& text);

} // namespace Tessor::Jobs
