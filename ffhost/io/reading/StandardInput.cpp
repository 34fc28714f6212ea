#include "ffhost/io/reading/StandardInput.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"
#include "ffhost/io/StandardStreams.h"

extern "C"
{
#include <libavutil/error.h>
}

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Tessor::Host
{

namespace
{

constexpr size_t BUFFER_SIZE = 1 << 18;
constexpr int PATIENCE = 100; // ms between two looks at whether to go on

[[noreturn]] void Fail(const std::string& cause)
{
    Throw<Core::IOException>(TESSOR_HERE, NameInput("-") + ": " + cause);
}

[[noreturn]] void Fail(const std::string& what, int error)
{
    Fail(what + ": " + DescribeError(AVERROR(error)));
}

FileHandle Duplicate(int fd)
{
    FileHandle handle(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!handle.IsOpen())
        Fail("can't be opened", errno);
    return handle;
}

/// An ordinary file of which nothing has been read yet.
bool CanBeSought()
{
    struct stat file = {};
    return fstat(STDIN_FILENO, &file) == 0 && S_ISREG(file.st_mode) && lseek(STDIN_FILENO, 0, SEEK_CUR) == 0;
}

std::string FolderForCopies()
{
    std::error_code fault;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(fault);
    if (fault)
        Fail("can't be copied to the folder for temporary files", fault.value());
    return folder.string();
}

} // namespace

StandardInput& StandardInput::Get()
{
    static StandardInput input;
    return input;
}

FileHandle StandardInput::Open(const std::function<void()>& checkpoint)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const int flags = fcntl(STDIN_FILENO, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_WRONLY)
        Fail("is not open for reading");
    if (!copy.IsOpen() && failure.empty() && CanBeSought())
        return Duplicate(STDIN_FILENO);
    if (!complete)
        Copy(checkpoint);
    return Duplicate(copy.Get());
}

void StandardInput::CreateCopy()
{
    const std::string folder = FolderForCopies();
    std::string name = folder + "/tessor-XXXXXX";
    copy = FileHandle(mkostemp(name.data(), O_CLOEXEC));
    if (!copy.IsOpen())
        Fail("can't be copied to " + folder, errno);
    unlink(name.c_str());
}

void StandardInput::Copy(const std::function<void()>& checkpoint)
{
    if (!failure.empty())
        Fail(failure);
    if (!copy.IsOpen())
        CreateCopy();
    std::vector<char> buffer(BUFFER_SIZE);
    while (!complete)
    {
        if (checkpoint)
            checkpoint();
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, PATIENCE) <= 0)
            continue;
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            Fail("can't be read", errno);
        if (count > 0)
            Write(buffer.data(), static_cast<size_t>(count));
        complete = count == 0;
    }
}

void StandardInput::Write(const char* data, size_t size)
{
    for (size_t done = 0; done < size;)
    {
        const ssize_t count = write(copy.Get(), data + done, size - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
        {
            failure = "can't be copied to " + FolderForCopies() + ": " + DescribeError(AVERROR(count ? errno : EIO));
            copy.Close();
            Fail(failure);
        }
        done += static_cast<size_t>(count);
    }
}

} // namespace Tessor::Host
