#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace Tessor::Host
{

/// An open file of the system's, closed with this.
class FileHandle
{
public:
    FileHandle() = default;
    explicit FileHandle(int fd) : fd(fd) {}
    ~FileHandle() { Close(); }
    FileHandle(FileHandle&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }

    bool IsOpen() const { return fd >= 0; }
    int Get() const { return fd; }
    /// Returns errno. Closed whatever the system says of it: a second close could hit a file that someone else has
    /// opened.
    int Close()
    {
        const int closed = std::exchange(fd, -1);
        return closed < 0 || close(closed) == 0 ? 0 : errno;
    }

private:
    int fd = -1; // below 0: none
};

} // namespace Tessor::Host
