#include "cli/options/TrackFlags.h"

#include "cli/UserError.h"

namespace Tessor::Cli
{

namespace
{

/// What stands before the first "=", and what after it.
std::pair<std::string, std::string> Split(const std::string& option, const std::string& text)
{
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw UserError(ExitCode::Usage, option + ": \"" + text + "\" has no = between what is meant and its text");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::vector<Jobs::MediaChanges::TrackText> ReadTexts(const std::string& option, const std::vector<std::string>& texts)
{
    std::vector<Jobs::MediaChanges::TrackText> read;
    for (const std::string& text : texts)
    {
        const auto [tracks, value] = Split(option, text);
        read.push_back({tracks, value});
    }
    return read;
}

} // namespace

void AddTracksOption(OptionTable& table, std::string& tracks)
{
    table.push_back({"--tracks", "SEL",
                     "only these tracks: v, a, s, t (pictures, sound, subtitles, covers and attachments), one of them "
                     "by number or language (v:0,a:eng), or the place in the file (0,2)",
                     &tracks});
}

void ChangeFlags::AddOptions(OptionTable& table)
{
    table.push_back(
        {"--default", "SEL", "the tracks that players choose, instead of others of their kinds", &defaults});
    table.push_back({"--language", "SEL=eng", "the language of tracks, in three letters", &languages});
    table.push_back({"--title", "SEL=TEXT", "the title of tracks; none without TEXT", &titles});
    table.push_back({"--tag", "KEY=TEXT", "a tag of the file (title=...); none without TEXT", &tags});
    table.push_back({"--no-tags", "", "leave out the tags of the file, and of tracks but for languages", &noTags});
    table.push_back({"--no-chapters", "", "leave out the chapters", &noChapters});
}

Jobs::MediaChanges ChangeFlags::Read() const
{
    Jobs::MediaChanges changes{.defaults = defaults,
                               .languages = ReadTexts("--language", languages),
                               .titles = ReadTexts("--title", titles),
                               .noChapters = noChapters,
                               .noTags = noTags};
    for (const std::string& tag : tags)
        changes.tags.push_back(Split("--tag", tag));
    return changes;
}

} // namespace Tessor::Cli
