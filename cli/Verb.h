#pragma once

#include "cli/ExitCode.h"
#include "cli/options/OptionTable.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Cli
{

/// What every verb takes.
struct CommonOptions
{
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    std::string progress = "auto";
    std::string logFile;
    std::string threads;      ///< of verbs that decode or encode
    bool outputTaken = false; ///< standard output is where the media go, so that no report can be printed
};

/// A use of a verb, for its help and the manual.
struct Example
{
    std::string command, meaning;
};

/// A verb of the program: a name, its option table, and what it does.
class Verb
{
public:
    virtual ~Verb() = default;
    virtual std::string GetName() const = 0;
    virtual std::string GetSummary() const = 0;
    /// The verb's own options; their targets live in the verb.
    virtual OptionTable GetOptions() = 0;
    virtual std::vector<Example> GetExamples() const { return {}; }
    /// What it writes media to; empty where it writes none.
    virtual std::string GetOutput() const { return ""; }
    /// Its help explains how times are written.
    virtual bool TakesTimes() const { return false; }
    /// Decodes or encodes, by as many threads as are asked for.
    virtual bool Codes() const { return false; }
    /// Has the options of all verbs beside its own.
    virtual bool TakesCommonOptions() const { return true; }
    /// Runs with the options filled in. Throws UserError and the system's exceptions.
    virtual ExitCode Run(const CommonOptions& common) = 0;
};

std::unique_ptr<Verb> MakeCutVerb();
std::unique_ptr<Verb> MakeProbeVerb();
std::unique_ptr<Verb> MakeRepackVerb();
std::unique_ptr<Verb> MakeConvertVerb();
std::unique_ptr<Verb> MakeFiltersVerb();
std::unique_ptr<Verb> MakeMixVerb();
std::unique_ptr<Verb> MakeToneVerb();
std::unique_ptr<Verb> MakeDetectVerb();
std::unique_ptr<Verb> MakeListVerb();
std::unique_ptr<Verb> MakeCompletionVerb();
std::unique_ptr<Verb> MakeManualVerb();

/// All verbs, in the order in which help lists them.
std::vector<std::unique_ptr<Verb>> MakeVerbs();

/// The verb's own options, and those of all verbs where it takes them.
OptionTable GetAllOptions(Verb& verb, CommonOptions& common);
/// Without those that all verbs have.
OptionTable GetOwnOptions(Verb& verb, CommonOptions& common);
/// The table of what every verb takes.
OptionTable GetCommonOptions(CommonOptions& common);

} // namespace Tessor::Cli
