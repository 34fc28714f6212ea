#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/writing/FileWriter.h"
#include "ffhost/io/writing/PartFile.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct AVIOContext;

namespace Tessor::Host
{

/// A file that appears at its place only when it is complete. It grows beside the target as a PartFile; Commit flushes
/// it to disk, closes it and moves it. The destructor removes what was not committed.
///
/// Standard output, and a target that exists and is no regular file (a device, a pipe), are written to directly.
///
/// All failures are Core::IOException "FILE: cause". Writing goes on in the background, so a failed write shows
/// late: in one of the next calls of Check, at the latest in Commit, with the cause that the system gave.
class TESSOR_API OutputFile
{
public:
    /// `checkpoint` is asked while a pipe is waited for; what it throws comes out of Check, Complete and Commit.
    explicit OutputFile(const std::string& path, std::function<void()> checkpoint = nullptr);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The buffered writer over the file, valid until Commit.
    AVIOContext* GetContext() const { return context.get(); }
    /// Throws when a write is known to have failed.
    void Check() const;
    /// From now on the new file has the dates of that one, once it stands at its place.
    void TakeDates(const std::string& file);
    /// Waits until all that was written is in the file. Returns that, open for reading and writing, for changes of
    /// what is in it; nothing is written after them. Below 0 for a target that is written to directly.
    int Complete();
    /// Without `replace` it throws OutputExistsException when something has appeared at the place.
    void Commit(bool replace);

    /// Throws "FILE: cause".
    [[noreturn]] void Fail(const std::string& cause) const;

private:
    /// The same by errno, with what could not be done.
    [[noreturn]] void Fail(const std::string& what, int error) const;

    bool WaitForRoom();
    static int WritePacket(void* opaque, uint8_t* data, int size);
    static int64_t Seek(void* opaque, int64_t offset, int whence);

    void OpenBeside();
    void OpenDirectly();
    void OpenStandardOutput();
    void CreateContext(bool seekable);
    void StartWriter(bool seekable);

    struct ContextDeleter
    {
        void operator()(AVIOContext* context) const;
    };

    const std::string target; // as messages name it; the path of what is no standard stream
    const std::function<void()> checkpoint;
    std::exception_ptr interruption;              // what the checkpoint threw while libavformat wrote; none: go on
    std::optional<PartFile> part;                 // none for a target that is written to directly
    FileHandle handle;                            // of the part or the target; open until Commit
    std::unique_ptr<FileWriter> writer;           // while the handle is open; its thread ends before that is closed
    int64_t position = 0;                         // where the next byte goes
    int64_t size = 0;                             // of the file when all is written
    std::optional<std::array<timespec, 2>> dates; // of last use and change; none: those of the writing
    std::unique_ptr<AVIOContext, ContextDeleter> context;
};

} // namespace Tessor::Host
