#include "ffhost/io/reading/InputHandle.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/reading/StandardInput.h"

extern "C"
{
#include <libavutil/error.h>
}

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

[[noreturn]] void Fail(const std::string& path, const std::string& cause)
{
    Throw<Core::IOException>(TESSOR_HERE, NameInput(path) + ": " + cause);
}

[[noreturn]] void FailToOpen(const std::string& path)
{
    Fail(path, "can't be opened: " + DescribeError(AVERROR(errno)));
}

/// By whatever name: "/dev/stdin", "/proc/self/fd/0".
bool IsStandardInput(const struct stat& file)
{
    struct stat input = {};
    return fstat(STDIN_FILENO, &input) == 0 && input.st_dev == file.st_dev && input.st_ino == file.st_ino;
}

/// Why a file can't be read as jobs do it, in any order; empty for an ordinary one.
std::string DescribeObstacle(const struct stat& file)
{
    if (S_ISREG(file.st_mode))
        return "";
    if (S_ISDIR(file.st_mode))
        return "is a folder";
    const char* const kind = S_ISFIFO(file.st_mode) ? "a pipe" : S_ISSOCK(file.st_mode) ? "a socket" : "a device";
    return std::string("is ") + kind + ", which can't be sought" +
           (IsStandardInput(file) ? "; \"-\" reads standard input" : "");
}

// Asked before it is opened: to open a pipe waits for who writes to it, and to open a device may set it going.
FileHandle OpenFile(const std::string& path)
{
    struct stat file = {};
    if (stat(path.c_str(), &file) != 0)
        FailToOpen(path);
    if (const std::string obstacle = DescribeObstacle(file); !obstacle.empty())
        Fail(path, obstacle);
    FileHandle handle(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!handle.IsOpen())
        FailToOpen(path);
    return handle;
}

} // namespace

FileHandle OpenInputHandle(const std::string& path, const std::function<void()>& checkpoint)
{
    FileHandle handle = IsStandardStream(path) ? StandardInput::Get().Open(checkpoint) : OpenFile(path);
    struct stat file = {};
    // To libavformat an empty file is one of unknown format.
    if (fstat(handle.Get(), &file) == 0 && file.st_size == 0)
        Fail(path, "is empty");
    return handle;
}

} // namespace Tessor::Host
