#include "ffhost/io/reading/InputBytes.h"

extern "C"
{
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr int BUFFER_SIZE = 1 << 15; // as libavformat reads files itself: more costs where tracks lie far apart

} // namespace

InputBytes::InputBytes(FileHandle handle, const AVIOInterruptCB& interrupt, int& error)
    : handle(std::move(handle)), interrupt(interrupt), error(error)
{
    uint8_t* const buffer = static_cast<uint8_t*>(av_malloc(BUFFER_SIZE));
    context = buffer ? avio_alloc_context(buffer, BUFFER_SIZE, 0, this, Read, nullptr, Seek) : nullptr;
    if (context)
        return;
    av_free(buffer);
    throw std::bad_alloc();
}

InputBytes::~InputBytes()
{
    // libavformat may have put another buffer in the place of ours
    av_freep(&context->buffer);
    avio_context_free(&context);
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
        count = pread(file.handle.Get(), buffer, static_cast<size_t>(size), file.position);
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
    if ((whence == AVSEEK_SIZE || whence == SEEK_END) && fstat(file.handle.Get(), &now) != 0)
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
