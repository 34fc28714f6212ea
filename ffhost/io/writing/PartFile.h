#pragma once

#include "Fnd/Exception.h"
#include "Fnd/Export.h"
#include "ffhost/io/FileHandle.h"

#include <functional>
#include <optional>
#include <string>

namespace Tessor::Host
{

/// Something has appeared at a place that was to be free.
class TESSOR_API OutputExistsException : public virtual Core::IOException
{
};

/// A file under a hidden name in the folder of the place that it is meant for, since a name changes at once only within
/// a file system. The destructor removes it unless it has been moved there.
///
/// It is locked while this lives. What lies there unlocked is of a process that was killed, and goes when the next one
/// is made for that place. (The process number in the name would not tell: numbers come again.)
///
/// A symbolic link is followed: what it points at is the place. Failures are Core::IOException "FILE: cause".
class TESSOR_API PartFile
{
public:
    /// A new file, with the rights of the one that it will replace. `target`: the place as its user wrote it.
    static PartFile Create(const std::string& target);
    /// A second name for the file that stands there; none where the file system knows no hard links.
    static std::optional<PartFile> LinkTo(const std::string& target);
    ~PartFile();
    PartFile(PartFile&& other) noexcept;
    PartFile& operator=(PartFile&&) = delete;

    /// Open for reading and writing, as long as this lives; of a link, nothing to be relied on.
    int GetHandle() const { return handle.Get(); }
    /// Moves it to its place, and puts that on the disk. Without `replace` it throws OutputExistsException when there
    /// is something.
    void Move(bool replace);

private:
    explicit PartFile(const std::string& target);

    /// Tries one hidden name after the other with `make`, which tells whether it has made a file of it, until there is
    /// one that is new and locked. `patience`: LOCK_NB where the lock is not waited for. Returns errno.
    int TakeName(const std::function<bool(const char* name)>& make, int patience);
    bool Lock(int patience) const;
    void RemoveStale() const;
    void SyncFolder() const;
    [[noreturn]] void Fail(const std::string& what, int error) const;

    const std::string target, place;
    std::string path;  // the hidden name; empty while there is none, and once moved
    FileHandle handle; // holds the lock
};

} // namespace Tessor::Host
