#include "cli/options/ManPage.h"

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

} // namespace

std::string GetManPage(const std::vector<std::unique_ptr<Verb>>& verbs, const std::string& version)
{
    CommonOptions unused;
    std::string text =
        fmt::format(".TH TESSOR 1 \"\" \"tessor {}\"\n.SH NAME\ntessor \\- cuts, converts and examines video "
                    "files\n.SH SYNOPSIS\n.B tessor\n.I VERB\n[options]\n.SH VERBS\n",
                    version);
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        text += fmt::format(".SS {}\n{}.\n", verb->GetName(), Escaped(verb->GetSummary()));
        for (const Option& option : verb->GetOptions())
            text += OptionText(option);
    }
    text += ".SH OPTIONS OF ALL VERBS\n";
    for (const Option& option : GetCommonOptions(unused))
        text += OptionText(option);
    text += R"(.SH TIMES
.TP
.B [HH:]MM:SS[.m], S[.m][s|ms|us]
A time as FFmpeg takes it.
.TP
.B 123f
The start of frame 123, counted from 0 in the order of display.
.TP
.B \-5, \-30f
A time or a frame counted back from the end, not beyond the start: \-10\-\-5 are five seconds of the last ten.
.TP
.B start, end
The two ends of the file.
.PP
Ranges are written A\-B, with an open end A\-. Ends are exclusive: what is shown at B is not part of A\-B.
.SH EXIT STATUS
0 done, 1 failed, 2 wrong usage, 3 the output exists, 4 verification failed, 130 interrupted.
)";
    return text;
}

} // namespace Tessor::Cli
