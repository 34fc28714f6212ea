#include "ffhost/io/writing/PartFile.h"

#include "ffhost/ErrorText.h"

extern "C"
{
#include <libavutil/error.h>
}

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>

namespace Tessor::Host
{

namespace fs = std::filesystem;

namespace
{

constexpr size_t LONGEST_STEM = 220; // names have 255 bytes on all usual file systems
constexpr std::string_view SUFFIX = ".tessor-part";
constexpr int NAMES = 100; // of one process for one place

/// What a link points at need not be there yet.
std::string ResolveLinks(const std::string& path)
{
    std::error_code ignored;
    fs::path real = path;
    for (int depth = 0; depth < 40 && fs::is_symlink(real, ignored); ++depth)
        real = real.parent_path() / fs::read_symlink(real, ignored);
    return real.string();
}

std::string FolderOf(const std::string& path)
{
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// What all hidden names of a place begin with.
std::string StemOf(const std::string& place)
{
    return "." + fs::path(place).filename().string().substr(0, LONGEST_STEM) + ".";
}

bool IsPartOf(const std::string& name, const std::string& stem)
{
    if (name.size() <= stem.size() + SUFFIX.size() || !name.starts_with(stem) || !name.ends_with(SUFFIX))
        return false;
    return std::all_of(name.begin() + static_cast<ptrdiff_t>(stem.size()),
                       name.end() - static_cast<ptrdiff_t>(SUFFIX.size()),
                       [](char c) { return c == '-' || (c >= '0' && c <= '9'); });
}

/// Whether the name is still that of the open file.
bool IsNameOf(const std::string& path, int handle)
{
    struct stat named = {}, open = {};
    return stat(path.c_str(), &named) == 0 && fstat(handle, &open) == 0 && named.st_dev == open.st_dev &&
           named.st_ino == open.st_ino;
}

/// Returns errno, EEXIST when there is something at `to`. What not all file systems can do is tried from the best on;
/// the last way leaves a moment between the look and the move.
int RenameToFree(const std::string& from, const std::string& to)
{
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    if (link(from.c_str(), to.c_str()) == 0)
        return unlink(from.c_str()) == 0 ? 0 : errno;
    if (errno != EPERM && errno != ENOTSUP && errno != ENOSYS)
        return errno;
    if (faccessat(AT_FDCWD, to.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace

PartFile::PartFile(const std::string& target) : target(target), place(ResolveLinks(target)) {}

PartFile::PartFile(PartFile&& other) noexcept
    : target(other.target), place(other.place), path(std::exchange(other.path, {})), handle(std::move(other.handle))
{
}

PartFile::~PartFile()
{
    if (!path.empty())
        unlink(path.c_str());
}

PartFile PartFile::Create(const std::string& target)
{
    PartFile part(target);
    part.RemoveStale();
    const int error = part.TakeName(
        [&](const char* name)
        {
            part.handle = FileHandle(open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            return part.handle.IsOpen();
        },
        0);
    if (error)
        part.Fail("can't be created", error);
    struct stat replaced = {};
    // A right that can't be carried over is no reason to fail.
    if (stat(part.place.c_str(), &replaced) == 0 && fchmod(part.GetHandle(), replaced.st_mode & 0777) != 0)
        errno = 0;
    return part;
}

std::optional<PartFile> PartFile::LinkTo(const std::string& target)
{
    PartFile part(target);
    const int error = part.TakeName(
        [&](const char* name)
        {
            if (link(part.place.c_str(), name) != 0)
                return false;
            part.handle = FileHandle(open(name, O_RDONLY | O_CLOEXEC));
            return true;
        },
        LOCK_NB); // others may have locked it for reasons of their own
    return error ? std::nullopt : std::optional<PartFile>(std::move(part));
}

int PartFile::TakeName(const std::function<bool(const char* name)>& make, int patience)
{
    for (int attempt = 0; attempt < NAMES; ++attempt)
    {
        std::string name = FolderOf(place) + "/" + StemOf(place) + std::to_string(getpid());
        name += (attempt ? "-" + std::to_string(attempt) : "") + std::string(SUFFIX);
        if (make(name.c_str()))
        {
            path = name;
            if (Lock(patience))
                return 0;
            path.clear();
        }
        else if (errno != EEXIST)
            return errno;
    }
    return EEXIST;
}

/// False when another process has removed it before it was locked. Without a lock, where the system knows none or does
/// not let us open the file, nobody else gets one either, and nobody removes it.
bool PartFile::Lock(int patience) const
{
    if (!handle.IsOpen())
        return true;
    flock(handle.Get(), LOCK_SH | patience);
    return IsNameOf(path, handle.Get());
}

void PartFile::RemoveStale() const
{
    const std::string stem = StemOf(place);
    std::error_code error;
    for (fs::directory_iterator entry(FolderOf(place), error), end; !error && entry != end; entry.increment(error))
    {
        const std::string name = entry->path().string();
        if (!IsPartOf(entry->path().filename().string(), stem))
            continue;
        const FileHandle stale(open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (stale.IsOpen() && flock(stale.Get(), LOCK_EX | LOCK_NB) == 0 && IsNameOf(name, stale.Get()))
            unlink(name.c_str());
    }
}

void PartFile::Move(bool replace)
{
    const int error = !replace ? RenameToFree(path, place) : std::rename(path.c_str(), place.c_str()) == 0 ? 0 : errno;
    if (error == EEXIST && !replace)
        Throw<OutputExistsException>(TESSOR_HERE, target + ": exists");
    if (error)
        Fail("can't take its place", error);
    path.clear();
    SyncFolder();
}

// The file is complete and in its place: a folder that can't be synchronised changes nothing about that.
void PartFile::SyncFolder() const
{
    const FileHandle folder(open(FolderOf(place).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen())
        fsync(folder.Get());
}

void PartFile::Fail(const std::string& what, int error) const
{
    Throw<Core::IOException>(TESSOR_HERE, target + ": " + what + ": " + DescribeError(AVERROR(error)));
}

} // namespace Tessor::Host
