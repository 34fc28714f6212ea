#include "cli/Verb.h"

namespace Tessor::Cli
{

std::vector<std::unique_ptr<Verb>> MakeVerbs()
{
    std::vector<std::unique_ptr<Verb>> verbs;
    verbs.push_back(MakeCutVerb());
    verbs.push_back(MakeRepackVerb());
    verbs.push_back(MakeProbeVerb());
    verbs.push_back(MakeConvertVerb());
    verbs.push_back(MakeFiltersVerb());
    verbs.push_back(MakeMixVerb());
    verbs.push_back(MakeToneVerb());
    verbs.push_back(MakeDetectVerb());
    verbs.push_back(MakeListVerb());
    verbs.push_back(MakeCompletionVerb());
    verbs.push_back(MakeManualVerb());
    return verbs;
}

OptionTable GetOwnOptions(Verb& verb, CommonOptions& common)
{
    OptionTable table = verb.GetOptions();
    if (verb.Codes())
        table.push_back(
            {"--threads", "N", "threads of each decoder, encoder and filter; as many as are of use", &common.threads});
    return table;
}

OptionTable GetAllOptions(Verb& verb, CommonOptions& common)
{
    OptionTable table = GetOwnOptions(verb, common);
    const OptionTable others = verb.TakesCommonOptions() ? GetCommonOptions(common) : OptionTable();
    table.insert(table.end(), others.begin(), others.end());
    return table;
}

OptionTable GetCommonOptions(CommonOptions& common)
{
    return {
        {"--json", "", "print one JSON document on standard output instead of text", &common.json},
        {"--progress",
         "WHEN",
         "progress on standard error: auto (a bar on a terminal), json (a line each), none",
         &common.progress,
         {"auto", "json", "none"}},
        {"-q,--quiet", "", "no report and no progress, only errors", &common.quiet},
        {"-v,--verbose", "", "print the statistics of every filter", &common.verbose},
        {"--log-file", "FILE", "append a log with all traces to FILE", &common.logFile, {}, true},
    };
}

} // namespace Tessor::Cli
