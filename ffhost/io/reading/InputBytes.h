#pragma once

#include "ffhost/io/FileHandle.h"

#include <cstdint>

extern "C"
{
#include <libavformat/avio.h>
}

namespace Tessor::Host
{

/// An ordinary file for libavformat to read. Its demuxers take a read that fails for the end of the file or for damage,
/// and go on: so the owner is told.
class InputBytes
{
public:
    /// `handle`: of OpenInputHandle. `interrupt` is asked before each read. `error`: errno of the first call that
    /// failed, 0 while all is well; after it nothing is read any more.
    InputBytes(FileHandle handle, const AVIOInterruptCB& interrupt, int& error);
    ~InputBytes();
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;

    /// Lives as long as this.
    AVIOContext* GetContext() const { return context; }

private:
    static int Read(void* opaque, uint8_t* buffer, int size);
    static int64_t Seek(void* opaque, int64_t offset, int whence);

    int64_t Fail();

    const FileHandle handle; // may share its position with others: reads bring their own
    const AVIOInterruptCB interrupt;
    int& error;
    int64_t position = 0; // of the next read
    AVIOContext* context = nullptr;
};

} // namespace Tessor::Host
