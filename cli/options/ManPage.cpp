#include "cli/options/ManPage.h"

#include "cli/options/HelpNotes.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

/// For roff, which takes a plain "-" for a hyphen that can't be searched for or copied as an option.
std::string Escaped(const std::string& text)
{
    std::string result;
    for (const char c : text)
        result += c == '-' ? "\\-" : c == '\\' ? "\\e" : std::string(1, c);
    return result;
}

std::string OptionText(const Option& option)
{
    return fmt::format(".TP\n.B {}{}\n{}\n", Escaped(option.names),
                       option.value.empty() ? "" : " \\fI" + Escaped(option.value) + "\\fR", Escaped(option.help));
}

std::string TimesText()
{
    std::string text = ".SH TIMES\n";
    for (const TimeForm& row : GetTimeForms())
        text += fmt::format(".TP\n.B {}\n{}.\n", Escaped(row.form), Escaped(row.meaning));
    return text + ".PP\n" + Escaped(GetRangeText()) + "\n";
}

std::string ExamplesText(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    std::string text = ".SH EXAMPLES\n";
    for (const std::unique_ptr<Verb>& verb : verbs)
        for (const Example& example : verb->GetExamples())
            text += fmt::format(".TP\n.B {}\n{}.\n", Escaped(example.command), Escaped(example.meaning));
    return text;
}

} // namespace

std::string GetManPage(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    CommonOptions unused;
    std::string text =
        ".TH TESSOR 1 \"\" \"tessor " TESSOR_VERSION "\"\n.SH NAME\ntessor \\- cuts, converts and examines "
        "video files\n.SH SYNOPSIS\n.B tessor\n.I VERB\n[options]\n.SH VERBS\n";
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        text += fmt::format(".SS {}\n{}.\n", verb->GetName(), Escaped(verb->GetSummary()));
        for (const Option& option : GetOwnOptions(*verb, unused))
            text += OptionText(option);
    }
    text += ".SH OPTIONS OF ALL VERBS THAT EXAMINE OR MAKE FILES\n";
    for (const Option& option : GetCommonOptions(unused))
        text += OptionText(option);
    text += TimesText() + ExamplesText(verbs);
    return text + ".SH EXIT STATUS\n0 done, 1 failed, 2 wrong usage, 3 the output exists, 4 verification failed, 130 "
                  "interrupted.\n";
}

} // namespace Tessor::Cli
