#include "cli/Interrupt.h"

#include <atomic>
#include <csignal>

namespace Tessor::Cli
{

namespace
{

// how many signals have come; asked on all threads of a job, and free of locks, which a handler must not take
std::atomic<int> interrupted = 0;
static_assert(std::atomic<int>::is_always_lock_free);

void Note(int signal)
{
    // whoever insists is obeyed at once; two may come together, to the program and to its group
    constexpr int patience = 2;
    if (++interrupted >= patience)
        std::signal(signal, SIG_DFL);
}

/// Who started the program with nohup wants it to go on.
void CatchHangup(const struct sigaction& action)
{
    struct sigaction inherited = {};
    if (sigaction(SIGHUP, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
        sigaction(SIGHUP, &action, nullptr);
}

} // namespace

void CatchInterrupts()
{
    // where signal() is used, some systems forget the handler after the first one
    struct sigaction action = {};
    action.sa_handler = Note;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    CatchHangup(action);
    // a closed pipe or a full file size limit is an error of the write
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool IsInterrupted()
{
    return interrupted != 0;
}

} // namespace Tessor::Cli
