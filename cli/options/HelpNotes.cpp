#include "cli/options/HelpNotes.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

const std::vector<TimeForm>& GetTimeForms()
{
    static const std::vector<TimeForm> forms = {
        {"[HH:]MM:SS[.m], S[.m][s|ms|us]", "a time as FFmpeg takes it"},
        {"123f", "the start of frame 123, counted from 0 in the order of display"},
        {"-5, -30f", "a time or a frame counted back from the end: -10--5 are five seconds of the last ten"},
        {"start, end", "the two ends of the file"},
    };
    return forms;
}

std::string GetRangeText()
{
    return "Ranges are written A-B, with an open end A-. Ends are exclusive: what is shown at B is not part of A-B.";
}

std::string GetHelpNotes(const Verb& verb)
{
    std::string notes;
    if (verb.TakesTimes())
    {
        notes += "Times:\n";
        for (const TimeForm& row : GetTimeForms())
            notes += fmt::format("  {:<35} {}\n", row.form, row.meaning);
        notes.append(GetRangeText()).append("\n\n");
    }
    const std::vector<Example> examples = verb.GetExamples();
    notes += examples.empty() ? "" : "Examples:\n";
    for (const Example& example : examples)
        notes += fmt::format("  {}\n      {}\n", example.command, example.meaning);
    return notes;
}

} // namespace Tessor::Cli
