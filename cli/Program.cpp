#include "cli/Program.h"

#include "Fnd/Exception.h"
#include "cli/Interrupt.h"
#include "cli/LogFile.h"
#include "cli/Printable.h"
#include "cli/UserError.h"
#include "cli/Verb.h"
#include "cli/options/HelpNotes.h"
#include "cli/options/UsageError.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/Threads.h"
#include "ffhost/io/StandardStreams.h"
#include "jobs/JobError.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/exception/diagnostic_information.hpp>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <glog/logging.h>
#include <iostream>
#include <iterator>
#include <new>
#include <unistd.h>

namespace Tessor::Cli
{

namespace
{

int Fail(ExitCode code, const std::string& text)
{
    fmt::print(stderr, "tessor: {}\n", Printable(text));
    return static_cast<int>(code);
}

// The targets live in the verbs, which have to outlive the parsing.
void AddOption(CLI::App& app, const Option& option)
{
    CLI::Option* added = std::visit(
        [&](auto* target) -> CLI::Option*
        {
            if constexpr (std::is_same_v<decltype(target), bool*>)
                return app.add_flag(option.names, *target, option.help);
            else
                return app.add_option(option.names, *target, option.help);
        },
        option.target);
    if (!option.choices.empty())
        added->check(CLI::IsMember(option.choices));
    if (!option.value.empty())
        added->type_name(option.value);
    else if (option.IsPositional())
        added->type_name("");
    // one value each time it is given, or it would take the positionals after it along
    if (std::holds_alternative<std::vector<std::string>*>(option.target) && !option.IsPositional())
        added->expected(1)->take_all()->allow_extra_args(false);
    added->required(option.required);
}

/// Nothing but the program's own words goes to standard error, and nothing to files of glog's.
void SilenceLogging()
{
    Host::RouteFFmpegLog();
    FLAGS_stderrthreshold = google::NUM_SEVERITIES;
    FLAGS_logtostderr = false;
    for (int severity = 0; severity < google::NUM_SEVERITIES; ++severity)
        // an empty name: no file
        google::SetLogDestination(severity, "");
}

ExitCode ExitCodeOf(Jobs::JobError::Kind kind)
{
    switch (kind)
    {
    case Jobs::JobError::BadRequest:
        return ExitCode::Usage;
    case Jobs::JobError::OutputExists:
        return ExitCode::OutputExists;
    case Jobs::JobError::Cancelled:
        return ExitCode::Interrupted;
    case Jobs::JobError::Failed:
        break;
    }
    return ExitCode::Failed;
}

/// The program's own way out of a refusal.
const char* HintFor(Jobs::JobError::Kind kind)
{
    return kind == Jobs::JobError::OutputExists ? " (-y overwrites it)" : "";
}

/// The files that the command line names, in the order of the table: the first is what is read.
std::vector<std::string> ListFiles(Verb& verb)
{
    std::vector<std::string> files;
    for (const Option& option : verb.GetOptions())
    {
        if (!option.file)
            continue;
        if (const auto* const one = std::get_if<std::string*>(&option.target))
            files.push_back(**one);
        else if (const auto* const many = std::get_if<std::vector<std::string>*>(&option.target))
            files.insert(files.end(), (*many)->begin(), (*many)->end());
    }
    std::erase(files, "");
    return files;
}

/// What the library throws in the middle of a job often names no file: it is told with the one that the job reads.
std::string NameFile(Verb& verb, const std::string& text)
{
    const std::vector<std::string> files = ListFiles(verb);
    const auto isNamed = [&](const std::string& file)
    { return text.find(Host::NameInput(file)) != text.npos || text.find(Host::NameOutput(file)) != text.npos; };
    if (files.empty() || std::any_of(files.begin(), files.end(), isNamed))
        return text;
    const bool onlyWrites = files.size() == 1 && files.front() == verb.GetOutput();
    return (onlyWrites ? Host::NameOutput(files.front()) : Host::NameInput(files.front())) + ": " + text;
}

/// 0 for an empty text: no limit.
int ReadThreads(const std::string& text)
{
    constexpr int most = 64; // encoders take no more
    int count = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, count);
    if (!text.empty() && (error != std::errc() || rest != end || count < 1 || count > most))
        throw UserError(ExitCode::Usage, "\"" + text + "\" is no number of threads from 1 to 64");
    return count;
}

ExitCode RunLogged(Verb& verb, const CommonOptions& common)
{
    if (common.logFile.empty())
        return verb.Run(common);
    const LogFile log(common.logFile, ListFiles(verb));
    log.Check(); // before the work
    const ExitCode code = verb.Run(common);
    log.Check();
    return code;
}

// The only place where failures end; from the most to the least that is known of them.
int RunVerb(Verb& verb, CommonOptions& common)
{
    try
    {
        CatchInterrupts();
        common.outputTaken = Host::IsStandardStream(verb.GetOutput());
        if (common.outputTaken && common.json)
            throw UserError(ExitCode::Usage, "standard output: takes the result or the document of --json, not both");
        Host::LimitThreads(ReadThreads(common.threads));
        return static_cast<int>(RunLogged(verb, common));
    }
    catch (const UserError& e)
    {
        return Fail(e.code, e.what());
    }
    catch (const Jobs::JobError& e)
    {
        return Fail(ExitCodeOf(e.kind), e.what() + std::string(HintFor(e.kind)));
    }
    catch (const Exception& e)
    {
        VLOG(11) << boost::diagnostic_information(e);
        return Fail(ExitCode::Failed, NameFile(verb, Describe(e)));
    }
    catch (const std::bad_alloc&)
    {
        return Fail(ExitCode::Failed, NameFile(verb, "out of memory"));
    }
    catch (const std::exception& e)
    {
        VLOG(11) << boost::diagnostic_information(e);
        return Fail(ExitCode::Failed, NameFile(verb, e.what()));
    }
}

CLI::App* AddVerb(CLI::App& app, Verb& verb, CommonOptions& common)
{
    CLI::App* command = app.add_subcommand(verb.GetName(), verb.GetSummary());
    for (const Option& option : GetAllOptions(verb, common))
        AddOption(*command, option);
    command->footer(GetHelpNotes(verb));
    return command;
}

int RunCommandLine(int argc, char** argv)
{
    google::InitGoogleLogging("tessor");
    SilenceLogging();
    CLI::App app("Tessor: cuts, repacks, converts and examines video files", "tessor");
    app.set_version_flag("--version", "tessor " TESSOR_VERSION);
    app.require_subcommand(1);

    CommonOptions common;
    const std::vector<std::unique_ptr<Verb>> verbs = MakeVerbs();
    std::vector<CLI::App*> commands;
    std::transform(verbs.begin(), verbs.end(), std::back_inserter(commands),
                   [&](const std::unique_ptr<Verb>& verb) { return AddVerb(app, *verb, common); });
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::Success& e) // --help and --version
    {
        return app.exit(e);
    }
    catch (const CLI::ParseError& e)
    {
        return Fail(ExitCode::Usage, DescribeUsageError(app, e));
    }
    // one is parsed, or else it would not have been understood
    const auto parsed =
        std::find_if(commands.begin(), commands.end(), [](const CLI::App* command) { return command->parsed(); });
    return RunVerb(*verbs[static_cast<size_t>(parsed - commands.begin())], common);
}

/// What is closed would be the place of the next file that is opened, and then be read or written as if it were what
/// was meant. So something stands there that fails.
void FillClosedStreams()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(fd, F_GETFD) < 0)
            // takes the lowest number that is free; left open for as long as the program runs
            open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

/// What was to be printed, help included, is part of what was asked for.
int FlushOutput(int status)
{
    errno = 0;
    std::cout.flush();
    const bool flushed = std::fflush(stdout) == 0 && !std::ferror(stdout) && std::cout.good();
    if (flushed || status != static_cast<int>(ExitCode::Done))
        return status;
    if (errno == EPIPE) // whoever read it has seen enough, and needs no word of it
        return static_cast<int>(ExitCode::Failed);
    return Fail(ExitCode::Failed,
                std::string("standard output: ") + (errno ? std::strerror(errno) : "not all could be written"));
}

} // namespace

int RunProgram(int argc, char** argv)
try
{
    FillClosedStreams();
    return FlushOutput(RunCommandLine(argc, argv));
}
catch (const std::exception&) // of what is done before and after a verb only memory can fail
{
    std::fputs("tessor: out of memory\n", stderr);
    return static_cast<int>(ExitCode::Failed);
}

} // namespace Tessor::Cli
