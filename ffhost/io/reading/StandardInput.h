#pragma once

#include "ffhost/io/FileHandle.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

namespace Tessor::Host
{

/// Standard input, to be read in any order, and as often as it is opened. A pipe gives each byte once only: it is
/// copied first, to a file without a name in the folder for temporary ones (TMPDIR), which stays until the process
/// ends. An ordinary file is read where it lies.
///
/// Threads: any. Who opens it while it is copied waits.
class StandardInput
{
public:
    /// There is one a process.
    static StandardInput& Get();

    /// Throws Core::IOException "standard input: cause", and what `checkpoint` throws, which is asked while it is
    /// copied. The next one who opens it goes on where that ended.
    FileHandle Open(const std::function<void()>& checkpoint);

private:
    StandardInput() = default;

    void CreateCopy();
    void Copy(const std::function<void()>& checkpoint);
    void Write(const char* data, size_t size);

    std::mutex mutex;      // round what follows
    FileHandle copy;       // what has come so far; not open before the first use, and where that is not needed
    bool complete = false; // the copy is
    std::string failure;   // why there will never be a complete one: what was read and not written is lost
};

} // namespace Tessor::Host
