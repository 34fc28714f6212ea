#include "jobs/split/PieceNames.h"

#include "jobs/JobError.h"

extern "C"
{
#include <libavutil/avstring.h>
}

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fmt/format.h>
#include <set>

namespace Tessor::Jobs
{

namespace
{

/// Of a field: file systems take 255 bytes for a name, and a pattern may have several fields.
constexpr size_t longest_field = 100;

bool BelongsInName(int code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool turnsDirection = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return !control && !turnsDirection && code != '/';
}

std::string Cleaned(const std::string& text)
{
    std::string clean;
    const auto* at = reinterpret_cast<const uint8_t*>(text.data());
    for (const uint8_t* const end = at + text.size(); at < end;)
    {
        const uint8_t* const begin = at;
        int32_t code = 0;
        const bool valid = av_utf8_decode(&code, &at, end, 0) >= 0;
        at = valid ? at : begin + 1;
        const std::string one = valid && BelongsInName(code) ? std::string(begin, at) : "_";
        if (clean.size() + one.size() > longest_field)
            break;
        clean += one;
    }
    // it would hide the file, or mean a folder
    if (clean.starts_with('.'))
        clean.front() = '_';
    return clean;
}

std::string WithField(const std::string& pattern)
{
    if (pattern.find("{number}") != std::string::npos || pattern.find("{title}") != std::string::npos)
        return pattern;
    const std::filesystem::path path(pattern);
    return (path.parent_path() / (path.stem().string() + "-{number}" + path.extension().string())).string();
}

/// The values of the fields of a piece.
struct Fields
{
    std::string name, number, title;

    const std::string* Find(const std::string& field) const
    {
        return field == "name" ? &name : field == "number" ? &number : field == "title" ? &title : nullptr;
    }
};

std::string Fill(const std::string& pattern, const Fields& fields)
{
    std::string filled;
    for (size_t at = 0; at < pattern.size();)
    {
        const size_t open = pattern.find('{', at);
        filled += pattern.substr(at, open - at);
        if (open == std::string::npos)
            break;
        const size_t close = std::min(pattern.find('}', open), pattern.size());
        const std::string field = pattern.substr(open + 1, close - open - 1);
        const std::string* const value = fields.Find(field);
        if (!value || close == pattern.size())
            throw JobError(JobError::BadRequest, pattern + ": {" + field + "} is none of {name}, {number} and {title}");
        filled += *value;
        at = close + 1;
    }
    return filled;
}

} // namespace

std::vector<std::string> NamePieces(const std::string& pattern, const std::string& input,
                                    const std::vector<std::string>& titles)
{
    const std::string fitting = WithField(pattern);
    const size_t digits = fmt::format_int(titles.size()).size();
    const std::string stem = Cleaned(std::filesystem::path(input).stem().string());
    std::vector<std::string> names;
    std::set<std::string> taken;
    for (size_t i = 0; i < titles.size(); ++i)
    {
        const std::string title = titles[i].empty() ? "part" : Cleaned(titles[i]);
        names.push_back(Fill(fitting, {stem, fmt::format("{:0{}}", i + 1, digits), title}));
        const std::filesystem::path path = std::filesystem::absolute(names.back()).lexically_normal();
        if (path.filename().string().size() > 255)
            throw JobError(JobError::BadRequest, names.back() + ": the name is too long");
        if (!taken.insert(path.string()).second)
            throw JobError(JobError::BadRequest, names.back() + ": two pieces would have this name");
    }
    return names;
}

} // namespace Tessor::Jobs
