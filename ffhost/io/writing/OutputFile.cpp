#include "ffhost/io/writing/OutputFile.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"
#include "ffhost/io/StandardStreams.h"

extern "C"
{
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr int BUFFER_SIZE = 1 << 15; // for what libavformat writes in single bytes
constexpr std::chrono::milliseconds PATIENCE(100);

} // namespace

// Without a flush: what is not committed is dropped.
void OutputFile::ContextDeleter::operator()(AVIOContext* context) const
{
    av_freep(&context->buffer);
    avio_context_free(&context);
}

OutputFile::OutputFile(const std::string& path, std::function<void()> checkpoint)
    : target(NameOutput(path)), checkpoint(std::move(checkpoint))
{
    struct stat existing = {};
    const bool exists = stat(target.c_str(), &existing) == 0;
    if (IsStandardStream(path))
        OpenStandardOutput();
    else if (exists && S_ISDIR(existing.st_mode))
        Fail("can't be written", EISDIR);
    else if (exists && !S_ISREG(existing.st_mode))
        OpenDirectly();
    else
        OpenBeside();
    // a file that others write to as well, before and after us, is no place to move about in
    const bool seekable = !IsStandardStream(path) && lseek(handle.Get(), 0, SEEK_CUR) >= 0;
    CreateContext(seekable);
    StartWriter(seekable);
}

OutputFile::~OutputFile() = default;

// A handle of its own: that of the part holds the lock until the part has moved, which is after this one is closed.
void OutputFile::OpenBeside()
{
    part.emplace(PartFile::Create(target));
    handle = FileHandle(fcntl(part->GetHandle(), F_DUPFD_CLOEXEC, 0));
    if (!handle.IsOpen())
        Fail("can't be created", errno);
}

void OutputFile::OpenDirectly()
{
    handle = FileHandle(open(target.c_str(), O_WRONLY | O_CLOEXEC));
    if (!handle.IsOpen())
        Fail("can't be opened", errno);
}

void OutputFile::OpenStandardOutput()
{
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY)
        Fail("is not open for writing");
    handle = FileHandle(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!handle.IsOpen())
        Fail("can't be opened", errno);
}

void OutputFile::CreateContext(bool seekable)
{
    uint8_t* buffer = static_cast<uint8_t*>(av_malloc(BUFFER_SIZE));
    if (buffer)
        context.reset(
            avio_alloc_context(buffer, BUFFER_SIZE, 1, this, nullptr, WritePacket, seekable ? Seek : nullptr));
    if (!context)
    {
        av_free(buffer);
        Fail("can't be written", ENOMEM);
    }
    context->seekable = seekable ? AVIO_SEEKABLE_NORMAL : 0;
    // past the buffer: the writer gathers, too, and each copy of a large file takes its time. What can't be sought has
    // only the buffer for sizes that muxers fill in after what they measure.
    context->direct = seekable;
}

void OutputFile::StartWriter(bool seekable)
{
    try
    {
        writer = std::make_unique<FileWriter>(handle.Get(), seekable);
    }
    catch (const std::system_error& e)
    {
        Fail("no thread can be started to write it: " + e.code().message());
    }
}

// It is C that calls, so that no exception may pass: Check throws it.
bool OutputFile::WaitForRoom()
try
{
    while (!interruption && !writer->WaitForRoom(PATIENCE))
        if (checkpoint)
            checkpoint();
    return !interruption;
}
catch (...)
{
    interruption = std::current_exception();
    return false;
}

// What fails on the thread shows here a few blocks later. libavformat goes on all the same; Check is what tells.
int OutputFile::WritePacket(void* opaque, uint8_t* data, int size)
try
{
    OutputFile& file = *static_cast<OutputFile*>(opaque);
    if (const int error = file.writer->GetError())
        return AVERROR(error);
    if (!file.WaitForRoom())
        return AVERROR_EXIT;
    file.writer->Write(file.position, data, static_cast<size_t>(size));
    file.position += size;
    file.size = std::max(file.size, file.position);
    return size;
}
catch (const std::bad_alloc&)
{
    return AVERROR(ENOMEM); // libavformat is C, and lets no exception pass
}

// Moves nothing but our position: each block takes its place along.
int64_t OutputFile::Seek(void* opaque, int64_t offset, int whence)
{
    OutputFile& file = *static_cast<OutputFile*>(opaque);
    if (whence == AVSEEK_SIZE)
        return file.size;
    if ((whence & ~AVSEEK_FORCE) != SEEK_SET || offset < 0)
        return AVERROR(EINVAL);
    return file.position = offset;
}

void OutputFile::Check() const
{
    if (interruption)
        std::rethrow_exception(interruption);
    if (const int error = writer ? writer->GetError() : 0)
        Fail("can't be written", error);
    if (context && context->error < 0)
        Fail("can't be written", AVUNERROR(context->error));
}

void OutputFile::TakeDates(const std::string& file)
{
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0)
        Fail("can't have the dates of " + file, errno);
    dates = {status.st_atim, status.st_mtim};
}

int OutputFile::Complete()
{
    avio_flush(context.get());
    while (!interruption && !writer->Finish(PATIENCE))
        if (checkpoint)
            checkpoint();
    Check();
    return part ? part->GetHandle() : -1;
}

// libavformat's buffer, the thread, the disk, and only then the name: after a power cut there is the old file or all of
// the new one.
void OutputFile::Commit(bool replace)
{
    Complete();
    writer.reset();
    if (part && dates && futimens(handle.Get(), dates->data()) != 0)
        Fail("its dates can't be set", errno);
    // Devices and pipes can't be synchronised, which is no failure of theirs.
    if (fsync(handle.Get()) != 0 && errno != EINVAL && errno != ENOTSUP)
        Fail("can't be brought to the disk", errno);
    if (const int error = handle.Close())
        Fail("can't be closed", error);
    if (part)
        part->Move(replace);
}

void OutputFile::Fail(const std::string& what, int error) const
{
    Fail(what + ": " + DescribeError(AVERROR(error)));
}

void OutputFile::Fail(const std::string& cause) const
{
    Throw<Core::IOException>(TESSOR_HERE, target + ": " + cause);
}

} // namespace Tessor::Host
