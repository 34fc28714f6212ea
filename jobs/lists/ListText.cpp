#include "jobs/lists/ListText.h"

#include "jobs/JobError.h"

#include <boost/algorithm/string/trim.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace Tessor::Jobs
{

namespace
{

/// A list of all frames of a day is smaller; a film that was given by mistake is not read.
constexpr size_t largest_list = 64 << 20;

} // namespace

ListText::ListText(std::string path, const std::string& text) : path(std::move(path))
{
    std::istringstream in(text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text);
    for (std::string line; std::getline(in, line);)
    {
        if (line.ends_with('\r'))
            line.pop_back();
        lines.push_back(line);
    }
}

ListText ListText::Open(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw JobError(JobError::Failed, path + ": is a folder");
    // opening one by its name waits for a writer; those that a shell makes for a command's output have one
    if (std::filesystem::is_fifo(path, ignored) && !path.starts_with("/dev/fd/"))
        throw JobError(JobError::Failed, path + ": is a pipe, and a cut list is a file");
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open())
        throw JobError(JobError::Failed, path + ": " + std::strerror(errno));
    std::string text;
    for (char part[4096]; in.read(part, sizeof(part)), in.gcount() > 0;)
    {
        text.append(part, static_cast<size_t>(in.gcount()));
        if (text.size() > largest_list)
            throw JobError(JobError::BadRequest, path + ": is too large for a cut list");
    }
    if (in.bad())
        throw JobError(JobError::Failed, path + ": can't be read");
    if (text.find('\0') != std::string::npos)
        throw JobError(JobError::BadRequest, path + ": is no text");
    return ListText(path, text);
}

std::string ListText::NameLine(size_t line) const
{
    return path + ":" + std::to_string(line + 1);
}

void ListText::Fail(size_t line, const std::string& cause) const
{
    throw JobError(JobError::BadRequest, NameLine(line) + ": " + cause);
}

avTime ListText::ReadTime(size_t line, const std::string& text, const TimeContext& context) const
{
    try
    {
        return ParseTime(text, context);
    }
    catch (const JobError& e)
    {
        Fail(line, e.what());
    }
}

std::string ListText::GetFirstLine(char comment) const
{
    for (const std::string& line : lines)
        if (const std::string text = Trimmed(line); !text.empty() && (comment == '\0' || text.front() != comment))
            return text;
    return "";
}

std::string Trimmed(const std::string& text)
{
    return boost::algorithm::trim_copy(text);
}

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

} // namespace Tessor::Jobs
