#include "ffhost/io/writing/OutputFile.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr int BUFFER_SIZE = 1 << 18; // what goes to the writer's thread at once
constexpr size_t LONGEST_NAME = 255; // in bytes, on all usual file systems

std::string ResolveLinks(const std::string& path)
{
    std::error_code ignored;
    const std::filesystem::path real = std::filesystem::canonical(path, ignored);
    return ignored ? path : real.string();
}

std::string FolderOf(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// In the same folder, since a name changes at once only within a file system. The process number keeps two that write
/// the same target apart.
std::string PartName(const std::string& place, int attempt)
{
    const std::string suffix =
        "." + std::to_string(getpid()) + (attempt ? "-" + std::to_string(attempt) : "") + ".tessor-part";
    std::string name = "." + std::filesystem::path(place).filename().string();
    name.resize(std::min(name.size(), LONGEST_NAME - suffix.size()));
    return FolderOf(place) + "/" + name + suffix;
}

} // namespace

OutputFile::OutputFile(const std::string& target) : target(target), place(ResolveLinks(target))
{
    struct stat existing = {};
    const bool exists = stat(place.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode))
        Fail(std::strerror(EISDIR));
    if (exists && !S_ISREG(existing.st_mode))
        OpenDirectly();
    else
        CreateBeside(exists ? existing.st_mode & 0777 : 0);
    CreateContext();
}

OutputFile::~OutputFile()
{
    Close();
    if (!partPath.empty())
        unlink(partPath.c_str());
}

/// `mode`: that of the file which will be replaced, 0 when there is none.
void OutputFile::CreateBeside(unsigned mode)
{
    for (int attempt = 0; fd < 0; ++attempt)
    {
        const std::string path = PartName(place, attempt);
        fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0)
            partPath = path;
        else if (errno != EEXIST || attempt == 99)
            Fail(std::strerror(errno));
    }
    // A right that can't be carried over is no reason to fail.
    if (mode && fchmod(fd, mode) != 0)
        errno = 0;
}

void OutputFile::OpenDirectly()
{
    fd = open(place.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        Fail(std::strerror(errno));
}

void OutputFile::CreateContext()
{
    uint8_t* buffer = static_cast<uint8_t*>(av_malloc(BUFFER_SIZE));
    context = buffer ? avio_alloc_context(buffer, BUFFER_SIZE, 1, this, nullptr, WritePacket, Seek) : nullptr;
    if (context)
    {
        const bool seekable = lseek(fd, 0, SEEK_CUR) >= 0;
        writer = std::make_unique<FileWriter>(fd, seekable);
        context->seekable = seekable ? AVIO_SEEKABLE_NORMAL : 0;
        // libavformat would write packet by packet
        context->min_packet_size = BUFFER_SIZE;
        return;
    }
    av_free(buffer);
    Close();
    if (!partPath.empty())
        unlink(partPath.c_str());
    Fail(std::strerror(ENOMEM));
}

// What fails on the thread shows here a few blocks later. libavformat goes on all the same; Check is what tells.
int OutputFile::WritePacket(void* opaque, uint8_t* data, int size)
{
    OutputFile& file = *static_cast<OutputFile*>(opaque);
    if (const int error = file.writer->GetError())
        return AVERROR(error);
    file.writer->Write(file.position, data, static_cast<size_t>(size));
    file.position += size;
    file.size = std::max(file.size, file.position);
    return size;
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
    if (const int error = writer ? writer->GetError() : 0)
        Fail(std::strerror(error));
    if (context && context->error < 0)
    {
        char text[AV_ERROR_MAX_STRING_SIZE] = {};
        Fail(av_make_error_string(text, sizeof(text), context->error));
    }
}

// libavformat's buffer, the thread, the disk, and only then the name: after a power cut there is the old file or all of
// the new one.
void OutputFile::Commit()
{
    avio_flush(context);
    writer->Finish();
    Check();
    writer.reset();
    // Devices and pipes can't be synchronised, which is no failure of theirs.
    if (fsync(fd) != 0 && errno != EINVAL && errno != ENOTSUP)
        Fail(std::strerror(errno));
    // closed whatever close says of it; a second close could hit a file that someone else has opened
    const int handle = fd;
    fd = -1;
    if (close(handle) != 0)
        Fail(std::strerror(errno));
    if (partPath.empty())
        return;
    if (rename(partPath.c_str(), place.c_str()) != 0)
        Fail(std::strerror(errno));
    partPath.clear();
    SyncFolder();
}

void OutputFile::SyncFolder() const
{
    // The file is complete and in its place: a folder that can't be synchronised changes nothing about that.
    const int folder = open(FolderOf(place).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder);
    close(folder);
}

// Without a flush: what is not committed is dropped. The thread ends before its file is closed.
void OutputFile::Close()
{
    if (context)
        av_freep(&context->buffer);
    avio_context_free(&context);
    writer.reset();
    if (fd >= 0)
        close(fd);
    fd = -1;
}

void OutputFile::Fail(const std::string& cause) const
{
    Throw<Core::IOException>(TESSOR_HERE, target + ": " + cause);
}

} // namespace Tessor::Host
