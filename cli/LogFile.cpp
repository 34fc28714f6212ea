#include "cli/LogFile.h"

#include "cli/UserError.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace Tessor::Cli
{

namespace
{

constexpr std::string_view HEADER = "Log of tessor\n";

// all but each item (VLOG(4000) and above)
constexpr int VERBOSITY = 31;

/// Also where neither is there yet.
bool IsSame(const std::string& one, const std::string& other)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    return fs::equivalent(one, other, ignored) ||
           fs::weakly_canonical(one, ignored) == fs::weakly_canonical(other, ignored);
}

} // namespace

LogFile::LogFile(const std::string& path, const std::vector<std::string>& others) : path(path)
{
    for (const std::string& other : others)
        if (IsSame(path, other))
            throw UserError(ExitCode::Usage, path + ": the log is a file of the job");
    // not to wait for the other end of a pipe, which is none of ours
    handle = open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    if (handle < 0)
        throw UserError(ExitCode::Failed, path + ": the log can't be opened: " + std::strerror(errno));
    if (!IsOurs())
    {
        close(handle);
        throw UserError(ExitCode::Usage, path + ": is no log of tessor's, and stays as it is");
    }
    if (lseek(handle, 0, SEEK_END) <= 0)
        Write(std::string(HEADER));
    FLAGS_v = VERBOSITY;
    google::AddLogSink(this);
}

LogFile::~LogFile()
{
    google::RemoveLogSink(this);
    close(handle);
}

/// What is empty becomes one, and a device keeps nothing.
bool LogFile::IsOurs() const
{
    struct stat status = {};
    if (fstat(handle, &status) != 0 || S_ISCHR(status.st_mode))
        return true;
    std::array<char, HEADER.size()> start{};
    const ssize_t count = pread(handle, start.data(), start.size(), 0);
    return S_ISREG(status.st_mode) &&
           (status.st_size == 0 ||
            std::string_view(start.data(), static_cast<size_t>(std::max<ssize_t>(count, 0))) == HEADER);
}

void LogFile::Check() const
{
    if (error)
        throw UserError(ExitCode::Failed, path + ": the log can't be written: " + std::strerror(error));
}

void LogFile::send(google::LogSeverity severity, const char*, const char* file, int line,
                   const google::LogMessageTime& time, const char* message, size_t size)
{
    Write(ToString(severity, file, line, time, message, size) + "\n");
}

// Whole lines, so that two processes may share a log.
void LogFile::Write(const std::string& text)
{
    if (!error && write(handle, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        error = errno ? errno : EIO;
}

} // namespace Tessor::Cli
