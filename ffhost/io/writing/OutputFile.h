#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/writing/FileWriter.h"

#include <cstdint>
#include <memory>
#include <string>

struct AVIOContext;

namespace Tessor::Host
{

/// A file that appears at its place only when it is complete. It grows beside the target under a hidden name of its
/// own; Commit flushes it to disk, closes it and renames it. The destructor removes what was not committed.
///
/// A target that exists and is no regular file (a device, a pipe) is written to directly. A symbolic link is followed:
/// what it points at is replaced.
///
/// All failures are Core::IOException "FILE: cause". Writing goes on in the background, so a failed write shows
/// late: in one of the next calls of Check, at the latest in Commit, with the cause that the system gave.
class TESSOR_API OutputFile
{
public:
    explicit OutputFile(const std::string& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The buffered writer over the file, valid until Commit.
    AVIOContext* GetContext() const { return context; }
    /// Throws when a write is known to have failed.
    void Check() const;
    void Commit();

    /// Throws "FILE: cause".
    [[noreturn]] void Fail(const std::string& cause) const;

private:
    static int WritePacket(void* opaque, uint8_t* data, int size);
    static int64_t Seek(void* opaque, int64_t offset, int whence);

    void CreateBeside(unsigned mode);
    void OpenDirectly();
    void CreateContext();
    void Close();
    void SyncFolder() const;

    const std::string target; // as the user wrote it, for messages
    std::string place;        // the target with links resolved
    std::string partPath;     // the hidden name; empty once renamed, and for a target that is written to directly
    int fd = -1;
    std::unique_ptr<FileWriter> writer; // while `fd` is open
    int64_t position = 0;               // where the next byte goes
    int64_t size = 0;                   // of the file when all is written
    AVIOContext* context = nullptr;
};

} // namespace Tessor::Host
