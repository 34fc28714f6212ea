#include "cli/Interrupt.h"

#include <csignal>

namespace Tessor::Cli
{

namespace
{

// how many signals have come
volatile std::sig_atomic_t interrupted = 0;

void Note(int signal)
{
    // whoever insists is obeyed at once; two may come together, to the program and to its group
    constexpr int patience = 2;
    // C++20 deprecates ++ of what is volatile
    interrupted = interrupted + 1;
    if (interrupted >= patience)
        std::signal(signal, SIG_DFL);
}

} // namespace

void CatchInterrupts()
{
    // where signal() is used, some systems forget the handler after the first one
    struct sigaction action = {};
    action.sa_handler = Note;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // a closed pipe or a full file size limit is an error of the write
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool IsInterrupted()
{
    return interrupted != 0;
}

} // namespace Tessor::Cli
