#include "jobs/TrackPattern.h"

#include "jobs/JobError.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <fmt/format.h>
#include <map>
#include <regex>

namespace Tessor::Jobs
{

namespace
{

std::string LetterOf(const Host::TrackInfo& track)
{
    if (track.attachment || track.attachedPicture)
        return "t";
    switch (track.type)
    {
    case MediaType::Video:
        return "v";
    case MediaType::Audio:
        return "a";
    case MediaType::Subtitle:
        return "s";
    case MediaType::None:
        break;
    }
    return "d";
}

std::string LanguageOf(const Host::TrackInfo& track)
{
    for (const auto& [key, text] : track.tags)
        if (boost::iequals(key, "language") && !text.empty())
            return text;
    return "und";
}

/// Of two channels with a language each transport streams tell both ("eng,fra"), and other files the country, too
/// ("en-US").
bool IsIn(const std::string& language, const std::string& asked)
{
    std::vector<std::string> all;
    boost::split(all, language, boost::is_any_of(","));
    return std::any_of(all.begin(), all.end(),
                       [&](const std::string& one)
                       { return boost::iequals(one, asked) || boost::istarts_with(one, asked + "-"); });
}

/// "v:0, a:0 (eng), a:1 (und)"
std::string ListTracks(const Host::MediaInfo& info)
{
    std::map<std::string, int> counts;
    std::string list;
    for (const Host::TrackInfo& track : info.tracks)
    {
        const std::string letter = LetterOf(track);
        list += fmt::format("{}{}:{}", list.empty() ? "" : ", ", letter, counts[letter]++);
        if (letter == "a" || letter == "s")
            list += " (" + LanguageOf(track) + ")";
    }
    return list;
}

} // namespace

TrackPattern::TrackPattern(const std::string& option, const std::string& text) : option(option)
{
    std::vector<std::string> texts;
    boost::split(texts, text, boost::is_any_of(","));
    for (const std::string& part : texts)
        parts.push_back(ReadPart(option, part));
}

TrackPattern::Part TrackPattern::ReadPart(const std::string& option, const std::string& text)
{
    static const std::regex form("([vastd])(?::(?:([0-9]{1,4})|([A-Za-z]{2,3}(?:-[A-Za-z0-9]+)*)))?|([0-9]{1,4})");
    std::smatch found;
    if (!std::regex_match(text, found, form))
        throw JobError(JobError::BadRequest,
                       fmt::format("{}: \"{}\" names no track as v:0, a:eng, s and 5 do", option, text));
    return {found[1], found[4].matched ? found[4] : found[2], found[3]};
}

std::set<int> TrackPattern::Find(const Host::MediaInfo& info) const
{
    std::set<int> tracks;
    for (const Part& part : parts)
    {
        const std::set<int> named = Find(part, info);
        if (named.empty())
            throw JobError(JobError::BadRequest,
                           fmt::format("{}: there is no track {}{}{} in {}, which has {}", option, part.kind,
                                       part.kind.empty() || part.number + part.language == "" ? "" : ":",
                                       part.number + part.language, info.path, ListTracks(info)));
        tracks.insert(named.begin(), named.end());
    }
    return tracks;
}

std::set<int> TrackPattern::Find(const Part& part, const Host::MediaInfo& info)
{
    std::set<int> tracks;
    int place = 0; // among those of the kind
    for (const Host::TrackInfo& track : info.tracks)
    {
        if (!part.kind.empty() && LetterOf(track) != part.kind)
            continue;
        const bool numbered = part.number.empty() || std::stoi(part.number) == place;
        if (numbered && (part.language.empty() || IsIn(LanguageOf(track), part.language)))
            tracks.insert(track.index);
        ++place;
    }
    return tracks;
}

} // namespace Tessor::Jobs
