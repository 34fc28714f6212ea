#pragma once

#include "Fnd/Export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tessor::Host
{

/// The index of a complete file of QuickTime's kind (the box moov of ISO/IEC 14496-12), which tells where the packets
/// lie. Writers know it last; players that load a file over a network want it first.
///
/// Making room for it copies nothing where the file system can move what follows as it stands. There whole blocks come
/// in, and what the index leaves of them is a box of nothing. The bytes do not depend on the way.
class TESSOR_API MovIndex
{
public:
    /// `fd`: open for reading and writing, of a file that nobody else changes. Throws std::system_error; the file is of
    /// no use then.
    explicit MovIndex(int fd) : fd(fd) {}

    /// False, with the file as it was, where the index is none that could come first: it does so already, is in parts,
    /// or has no room for the places that the packets would move to.
    bool BringForward();

private:
    struct Box
    {
        std::string type;
        int64_t offset = 0;
        int64_t size = 0; // header included
    };

    bool Find();
    Box ReadBox(int64_t offset, int64_t end) const;
    int64_t ChooseShift() const;
    void MakeRoom(int64_t shift) const;
    void CopyUp(int64_t shift) const;
    std::vector<uint8_t> MakeHead(const std::vector<uint8_t>& index, int64_t shift) const;

    const int fd;
    int64_t front = 0; // where the index is to stand
    int64_t place = 0; // where it stands: at the end
    int64_t size = 0;  // its own
};

} // namespace Tessor::Host
