#include "cli/Interrupt.h"

#include "cli/UserError.h"

#include <csignal>

namespace Tessor::Cli
{

namespace
{

volatile std::sig_atomic_t interrupted = 0;

void Note(int)
{
    interrupted = 1;
}

} // namespace

void CatchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = Note;
    // a second Ctrl-C ends the program at once
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // a closed pipe or a full file size limit is an error of the write
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void ThrowIfInterrupted()
{
    if (interrupted)
        throw UserError(ExitCode::Interrupted, "interrupted");
}

} // namespace Tessor::Cli
