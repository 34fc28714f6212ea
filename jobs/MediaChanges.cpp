#include "jobs/MediaChanges.h"

#include "ffhost/io/Container.h"
#include "ffhost/io/writing/FileHeader.h"
#include "jobs/JobError.h"
#include "jobs/TrackPattern.h"

extern "C"
{
#include <libavutil/parseutils.h>
}

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <regex>
#include <tuple>

namespace Tessor::Jobs
{

namespace
{

void SetTag(Host::Tags& tags, const std::string& key, const std::string& text)
{
    // in some languages, too: "title-deu"
    std::erase_if(tags, [&](const auto& tag)
                  { return boost::iequals(tag.first, key) || boost::istarts_with(tag.first, key + "-"); });
    if (!text.empty())
        tags.emplace_back(key, text);
}

/// A track can't do without: the language, what names an attachment, and what players need to show it.
bool IsEssential(const std::string& key)
{
    for (const char* kept : {"language", "filename", "mimetype", Host::TRANSPARENCY_TAG.c_str()})
        if (boost::iequals(key, kept))
            return true;
    return false;
}

void RemoveTags(Host::MediaInfo& info)
{
    info.tags.clear();
    for (Host::TrackInfo& track : info.tracks)
        std::erase_if(track.tags, [](const auto& tag) { return !IsEssential(tag.first); });
}

/// The source's own tags name the tracks, whatever was changed before.
void SetTexts(Host::MediaInfo& info, const Host::MediaInfo& source, const std::string& key,
              const std::vector<MediaChanges::TrackText>& texts)
{
    for (const auto& [tracks, text] : texts)
        for (const int index : TrackPattern("--" + key, tracks).Find(source))
            SetTag(info.tracks[static_cast<size_t>(index)].tags, key, text);
}

std::vector<MediaChanges::TrackText> CheckedLanguages(std::vector<MediaChanges::TrackText> languages)
{
    static const std::regex code("[a-z]{3}");
    for (MediaChanges::TrackText& language : languages)
    {
        boost::to_lower(language.text);
        if (!std::regex_match(language.text, code))
            throw JobError(JobError::BadRequest,
                           "--language: \"" + language.text + "\" is no language of three letters such as eng");
    }
    return languages;
}

/// What libavformat would leave out without a word.
void CheckTags(const Host::Tags& tags)
{
    for (const auto& [key, text] : tags)
    {
        int64_t time = 0;
        if (Host::FileHeader::IsBookkeeping(key))
            throw JobError(JobError::BadRequest, "--tag: \"" + key + "\" is what the container says of itself");
        if (boost::iequals(key, "creation_time") && !text.empty() && av_parse_time(&time, text.c_str(), 0) < 0)
            throw JobError(JobError::BadRequest,
                           "--tag: creation_time: \"" + text + "\" is no date such as 2026-08-01T12:00:00Z");
    }
}

void SetDefaults(Host::MediaInfo& info, const std::set<int>& defaults)
{
    const auto alike = [](const Host::TrackInfo& a, const Host::TrackInfo& b)
    { return std::tuple(a.type, a.attachedPicture) == std::tuple(b.type, b.attachedPicture); };
    for (Host::TrackInfo& track : info.tracks)
        for (const int index : defaults)
            if (alike(track, info.tracks[static_cast<size_t>(index)]))
                track.disposition &= ~Host::DEFAULT_DISPOSITION;
    for (const int index : defaults)
        info.tracks[static_cast<size_t>(index)].disposition |= Host::DEFAULT_DISPOSITION;
}

} // namespace

Host::MediaInfo ApplyChanges(const Host::MediaInfo& source, const MediaChanges& changes)
{
    Host::MediaInfo info = source;
    if (!changes.defaults.empty())
        SetDefaults(info, TrackPattern("--default", changes.defaults).Find(source));
    if (changes.noChapters)
        info.chapters.clear();
    if (changes.noTags)
        RemoveTags(info);
    CheckTags(changes.tags);
    for (const auto& [key, text] : changes.tags)
        SetTag(info.tags, key, text);
    SetTexts(info, source, "title", changes.titles);
    SetTexts(info, source, "language", CheckedLanguages(changes.languages));
    return info;
}

std::vector<std::string> FindLosses(const MediaChanges& changes, const std::string& output, const std::string& format)
{
    if (changes.defaults.empty() || Host::Container::Choose(output, format).CarriesDefaults())
        return {};
    return {"not carried over: which tracks players choose"};
}

} // namespace Tessor::Jobs
