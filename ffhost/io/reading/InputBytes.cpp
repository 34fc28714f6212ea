#include "ffhost/io/reading/InputBytes.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"

extern "C"
{
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr int BUFFER_SIZE = 1 << 15; // as libavformat reads files itself: more costs where tracks lie far apart

/// Why a file can't be read as jobs do it, in any order; empty for an ordinary one.
std::string DescribeObstacle(const struct stat& file)
{
    if (S_ISREG(file.st_mode))
        return "";
    if (S_ISDIR(file.st_mode))
        return "is a folder";
    const char* const kind = S_ISFIFO(file.st_mode) ? "a pipe" : S_ISSOCK(file.st_mode) ? "a socket" : "a device";
    return std::string("is ") + kind + ", which can't be sought";
}

} // namespace

InputBytes::InputBytes(const std::string& path, const AVIOInterruptCB& interrupt, int& error)
    : interrupt(interrupt), error(error)
{
    Open(path);
    uint8_t* const buffer = static_cast<uint8_t*>(av_malloc(BUFFER_SIZE));
    context = buffer ? avio_alloc_context(buffer, BUFFER_SIZE, 0, this, Read, nullptr, Seek) : nullptr;
    if (context)
        return;
    av_free(buffer);
    close(fd);
    throw std::bad_alloc();
}

InputBytes::~InputBytes()
{
    // libavformat may have put another buffer in the place of ours
    av_freep(&context->buffer);
    avio_context_free(&context);
    close(fd);
}

// Asked before it is opened: to open a pipe waits for who writes to it, and to open a device may set it going.
void InputBytes::Open(const std::string& path)
{
    const auto fail = [&](const std::string& cause) { Throw<Core::IOException>(TESSOR_HERE, path + ": " + cause); };
    const auto failToOpen = [&] { fail("can't be opened: " + DescribeError(AVERROR(errno))); };
    struct stat file = {};
    if (stat(path.c_str(), &file) != 0)
        failToOpen();
    if (const std::string obstacle = DescribeObstacle(file); !obstacle.empty())
        fail(obstacle);
    // To libavformat an empty file is one of unknown format.
    if (file.st_size == 0)
        fail("is empty");
    fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        failToOpen();
}

int InputBytes::Read(void* opaque, uint8_t* buffer, int size)
{
    InputBytes& file = *static_cast<InputBytes*>(opaque);
    if (file.interrupt.callback && file.interrupt.callback(file.interrupt.opaque))
        return AVERROR_EXIT;
    if (file.error)
        return AVERROR(file.error);
    ssize_t count = -1;
    do
        count = pread(file.fd, buffer, static_cast<size_t>(size), file.position);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        return static_cast<int>(file.Fail());
    file.position += count;
    return count > 0 ? static_cast<int>(count) : AVERROR_EOF;
}

// Moves nothing but our position. A file may grow while it is read.
int64_t InputBytes::Seek(void* opaque, int64_t offset, int whence)
{
    InputBytes& file = *static_cast<InputBytes*>(opaque);
    struct stat now = {};
    whence &= ~AVSEEK_FORCE;
    if ((whence == AVSEEK_SIZE || whence == SEEK_END) && fstat(file.fd, &now) != 0)
        return file.Fail();
    if (whence == AVSEEK_SIZE)
        return now.st_size;
    const int64_t base = whence == SEEK_END ? now.st_size : whence == SEEK_CUR ? file.position : 0;
    if (offset < 0 && base + offset < 0)
        return AVERROR(EINVAL);
    return file.position = base + offset;
}

int64_t InputBytes::Fail()
{
    error = errno;
    return AVERROR(error);
}

} // namespace Tessor::Host
