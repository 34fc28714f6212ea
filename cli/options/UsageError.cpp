#include "cli/options/UsageError.h"

#include "jobs/Spelling.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

using Words = std::vector<std::string>;

/// A minus before a digit is a sign.
bool IsOption(const std::string& word)
{
    return word.size() > 1 && word[0] == '-' && !(word[1] >= '0' && word[1] <= '9');
}

Words ListVerbs(const CLI::App& app)
{
    Words names;
    for (const CLI::App* verb : app.get_subcommands({}))
        names.push_back(verb->get_name());
    return names;
}

Words ListOptions(const CLI::App& verb)
{
    Words names;
    for (const CLI::Option* option : verb.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

std::string Suggest(const std::string& word, const Words& words)
{
    const std::string meant = Jobs::FindMeant(word, words);
    return meant.empty() ? "" : fmt::format(" (did you mean {}?)", meant);
}

std::string DescribeVerb(const std::string& word, const CLI::App& app)
{
    const Words verbs = ListVerbs(app);
    const std::string meant = Suggest(word, verbs);
    return fmt::format("there is no verb \"{}\"{}", word,
                       meant.empty() ? fmt::format("; there are {}", fmt::join(verbs, ", ")) : meant);
}

std::string DescribeOptions(const Words& unknown, const CLI::App& verb)
{
    const Words known = ListOptions(verb);
    std::string list;
    for (const std::string& word : unknown)
    {
        const std::string name = word.substr(0, word.find('='));
        list += (list.empty() ? "" : ", ") + name + (name.starts_with("--") ? Suggest(name, known) : "");
    }
    return fmt::format("{} knows no {}", verb.get_name(), list);
}

/// Of the words that nobody has taken.
std::string DescribeRest(const Words& rest, const CLI::App& verb)
{
    Words unknown;
    std::copy_if(rest.begin(), rest.end(), std::back_inserter(unknown), IsOption);
    return unknown.empty() ? fmt::format("{} does not know what to do with \"{}\"", verb.get_name(), rest.front())
                           : DescribeOptions(unknown, verb);
}

} // namespace

std::string DescribeUsageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<CLI::App*> verbs = app.get_subcommands();
    const Words before = app.remaining();
    if (!before.empty() && IsOption(before.front()) && !verbs.empty())
        return fmt::format("{} stands before the verb: options come after it", before.front());
    if (!before.empty() && !IsOption(before.front()))
        return DescribeVerb(before.front(), app) + " (tessor --help tells the usage)";
    if (verbs.empty())
        return fmt::format("a verb is wanted: {} (tessor --help tells the usage)", fmt::join(ListVerbs(app), ", "));
    const Words rest = verbs.front()->remaining();
    return fmt::format("{} (tessor {} --help tells the usage)",
                       rest.empty() ? error.what() : DescribeRest(rest, *verbs.front()), verbs.front()->get_name());
}

} // namespace Tessor::Cli
