#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/Writeback.h"

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
/// All failures are Core::IOException "FILE: cause". A failed write is remembered, since libavformat's buffer reports
/// it late: Check throws it with the cause that the system gave.
class TESSOR_API OutputFile
{
public:
    explicit OutputFile(const std::string& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The buffered writer over the file, valid until Commit.
    AVIOContext* GetContext() const { return context; }
    /// Throws when a write has failed.
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
    void StartWriteback(int64_t written);

    const std::string target; // as the user wrote it, for messages
    std::string place;        // the target with links resolved
    std::string partPath;     // the hidden name; empty once renamed, and for a target that is written to directly
    int fd = -1;
    std::unique_ptr<Writeback> writeback; // from the first portion on
    int64_t unsynced = 0;                 // bytes since the disk was last told to begin
    int error = 0;                        // errno of the first write or seek that failed
    AVIOContext* context = nullptr;
};

} // namespace Tessor::Host
