// Preloaded into a program, it lets the n-th call of a kind fail: TESSOR_FAULT=KIND:N, with a + after it
// all from the n-th on. Calls on files count where they
// are under TESSOR_FAULT_FOLDER, all calls only from the start of main to its end. When the call has come, the file
// TESSOR_FAULT_MARK tells who made it.

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#define EXPORT extern "C" __attribute__((visibility("default")))

// glibc's own, which need no dlsym: that allocates
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* memory, size_t size);
extern "C" void* __libc_memalign(size_t alignment, size_t size);

namespace
{

const char *kind = "", *folder = "", *mark = "";
long wanted = 0;
bool more = false; // all that come after it as well
std::atomic<long> calls = 0;
std::atomic<bool> armed = false; // main runs

template <class Function>
Function Next(Function, const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void Mark()
{
    void* frames[40];
    const int depth = backtrace(frames, 40);
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, mark, O_WRONLY | O_CREAT | O_TRUNC, 0666));
    backtrace_symbols_fd(frames, depth, file);
    syscall(SYS_close, file);
}

/// Whether this call is the one.
bool Fails(const char* callKind)
{
    if (!armed || std::strcmp(kind, callKind) != 0)
        return false;
    const long call = ++calls;
    if (call == wanted)
    {
        armed = false; // what marks it makes calls as well
        Mark();
        armed = more;
    }
    return call == wanted || (more && call > wanted);
}

bool IsUnder(const char* path)
{
    return std::strncmp(path, folder, std::strlen(folder)) == 0;
}

bool Fails(const char* callKind, const char* path)
{
    return armed && IsUnder(path) && Fails(callKind);
}

bool Fails(const char* callKind, int fd)
{
    if (!armed)
        return false;
    char name[32], path[PATH_MAX] = {};
    std::snprintf(name, sizeof(name), "/proc/self/fd/%d", fd);
    return readlink(name, path, sizeof(path) - 1) > 0 && Fails(callKind, path);
}

/// What the system says when it fails.
template <class Result>
Result Error(int code)
{
    errno = code;
    return static_cast<Result>(-1);
}

using Main = int (*)(int, char**, char**);
Main programsMain = nullptr;

int RunMain(int argc, char** argv, char** environment)
{
    armed = true;
    const int status = programsMain(argc, argv, environment);
    armed = false;
    return status;
}

} // namespace

EXPORT int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(), void (*unload)(),
                             void* stackEnd)
{
    const char* fault = std::getenv("TESSOR_FAULT");
    folder = std::getenv("TESSOR_FAULT_FOLDER");
    mark = std::getenv("TESSOR_FAULT_MARK");
    if (fault && folder && mark)
    {
        static char name[16];
        std::sscanf(fault, "%15[a-z]:%ld", name, &wanted);
        kind = name;
        more = fault[std::strlen(fault) - 1] == '+';
        void* frame = nullptr;
        backtrace(&frame, 1); // loads what it needs
        programsMain = main;
        main = RunMain;
    }
    return Next(__libc_start_main, "__libc_start_main")(main, argc, argv, init, fini, unload, stackEnd);
}

EXPORT ssize_t read(int fd, void* buffer, size_t size)
{
    static const auto next = Next(read, "read");
    return Fails("read", fd) ? Error<ssize_t>(EIO) : next(fd, buffer, size);
}

EXPORT ssize_t pread64(int fd, void* buffer, size_t size, off64_t offset)
{
    static const auto next = Next(pread64, "pread64");
    return Fails("read", fd) ? Error<ssize_t>(EIO) : next(fd, buffer, size, offset);
}

EXPORT ssize_t pread(int fd, void* buffer, size_t size, off_t offset)
{
    return pread64(fd, buffer, size, offset);
}

EXPORT ssize_t write(int fd, const void* buffer, size_t size)
{
    static const auto next = Next(write, "write");
    return Fails("write", fd) ? Error<ssize_t>(ENOSPC) : Fails("nothing", fd) ? 0 : next(fd, buffer, size);
}

EXPORT ssize_t pwrite64(int fd, const void* buffer, size_t size, off64_t offset)
{
    static const auto next = Next(pwrite64, "pwrite64");
    return Fails("write", fd) ? Error<ssize_t>(ENOSPC) : Fails("nothing", fd) ? 0 : next(fd, buffer, size, offset);
}

EXPORT ssize_t pwrite(int fd, const void* buffer, size_t size, off_t offset)
{
    return pwrite64(fd, buffer, size, offset);
}

EXPORT off64_t lseek64(int fd, off64_t offset, int whence) noexcept
{
    static const auto next = Next(lseek64, "lseek64");
    return Fails("seek", fd) ? Error<off64_t>(EIO) : next(fd, offset, whence);
}

EXPORT off_t lseek(int fd, off_t offset, int whence) noexcept
{
    return lseek64(fd, offset, whence);
}

EXPORT int open64(const char* path, int flags, ...)
{
    static const auto next = Next(open64, "open64");
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    return Fails("open", path) ? Error<int>(EMFILE) : next(path, flags, mode);
}

EXPORT int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    return open64(path, flags, mode);
}

EXPORT int rename(const char* from, const char* to) noexcept
{
    static const auto next = Next(rename, "rename");
    return Fails("rename", from) ? Error<int>(EIO) : next(from, to);
}

EXPORT int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    static const auto next = Next(renameat2, "renameat2");
    // EINVAL is what a file system says that can't do it
    return Fails("rename", from)  ? Error<int>(EIO)
           : Fails("flags", from) ? Error<int>(EINVAL)
                                  : next(fromFolder, from, toFolder, to, flags);
}

EXPORT int link(const char* from, const char* to) noexcept
{
    static const auto next = Next(link, "link");
    return Fails("link", from) ? Error<int>(EPERM) : next(from, to);
}

EXPORT int fsync(int fd)
{
    static const auto next = Next(fsync, "fsync");
    return Fails("fsync", fd) ? Error<int>(EIO) : next(fd);
}

EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                          void* argument) noexcept
{
    static const auto next = Next(pthread_create, "pthread_create");
    return Fails("thread") ? EAGAIN : next(thread, attributes, run, argument);
}

EXPORT void* malloc(size_t size) noexcept
{
    if (!Fails("memory"))
        return __libc_malloc(size);
    errno = ENOMEM;
    return nullptr;
}

EXPORT void* calloc(size_t count, size_t size) noexcept
{
    return Fails("memory") ? nullptr : __libc_calloc(count, size);
}

EXPORT void* realloc(void* memory, size_t size) noexcept
{
    return Fails("memory") ? nullptr : __libc_realloc(memory, size);
}

EXPORT void* aligned_alloc(size_t alignment, size_t size) noexcept
{
    return Fails("memory") ? nullptr : __libc_memalign(alignment, size);
}

EXPORT int posix_memalign(void** memory, size_t alignment, size_t size) noexcept
{
    *memory = Fails("memory") ? nullptr : __libc_memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}
