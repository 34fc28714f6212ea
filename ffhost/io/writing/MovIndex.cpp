#include "ffhost/io/writing/MovIndex.h"

extern "C"
{
#include <libavutil/intreadwrite.h>
}

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Tessor::Host
{

namespace
{

constexpr int64_t BOX_HEADER = 8;          // size and type
constexpr int64_t LARGE_BOX_HEADER = 16;   // the size once more, in 64 bits
constexpr int64_t BLOCK = 4096;            // of most file systems
constexpr int64_t CHEAP_TO_COPY = 1 << 20; // not worth the rest of a block
constexpr int64_t COPIED_AT_ONCE = 1 << 20;

[[noreturn]] void Fail(int error)
{
    throw std::system_error(error, std::generic_category());
}

/// Calls until all bytes have gone through. A call that moves none would go on like this for ever.
template <class Call, class Byte>
void Transfer(Call call, int fd, Byte* bytes, int64_t size, int64_t offset)
{
    for (int64_t done = 0; done < size;)
    {
        const ssize_t count = call(fd, bytes + done, static_cast<size_t>(size - done), offset + done);
        if (count > 0)
            done += count;
        else if (count == 0 || errno != EINTR)
            Fail(count == 0 ? EIO : errno);
    }
}

std::vector<uint8_t> Read(int fd, int64_t offset, int64_t size)
{
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    Transfer(pread, fd, bytes.data(), size, offset);
    return bytes;
}

int64_t SizeOf(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0)
        Fail(errno);
    return status.st_size;
}

bool HoldsBoxes(uint32_t type)
{
    return type == AV_RB32("moov") || type == AV_RB32("trak") || type == AV_RB32("mdia") || type == AV_RB32("minf") ||
           type == AV_RB32("stbl");
}

/// Adds to each number of a table, of `width` bytes each, that stand after version and count.
bool MoveTable(uint8_t* table, int64_t size, int64_t width, int64_t shift)
{
    const int64_t count = size < 8 ? -1 : AV_RB32(table + 4);
    if (count < 0 || count > (size - 8) / width)
        return false;
    const int64_t highest = width == 4 ? std::numeric_limits<uint32_t>::max() : std::numeric_limits<int64_t>::max();
    for (uint8_t* at = table + 8; at < table + 8 + count * width; at += width)
    {
        const uint64_t place = width == 4 ? AV_RB32(at) : AV_RB64(at);
        if (place > static_cast<uint64_t>(highest - shift))
            return false;
        if (width == 4)
            AV_WB32(at, static_cast<uint32_t>(place + shift));
        else
            AV_WB64(at, place + shift);
    }
    return true;
}

/// Adds `shift` to the places of all packets that boxes tell. False when there is no room for one, or a box is broken.
bool MovePlaces(uint8_t* boxes, int64_t size, int64_t shift)
{
    int64_t length = 0;
    for (; size >= BOX_HEADER; boxes += length, size -= length)
    {
        length = AV_RB32(boxes);
        if (length < BOX_HEADER || length > size)
            return false;
        const uint32_t type = AV_RB32(boxes + 4);
        uint8_t* const content = boxes + BOX_HEADER;
        const int64_t left = length - BOX_HEADER;
        const bool moved = HoldsBoxes(type)          ? MovePlaces(content, left, shift)
                           : type == AV_RB32("stco") ? MoveTable(content, left, 4, shift)
                           : type == AV_RB32("co64") ? MoveTable(content, left, 8, shift)
                                                     : true;
        if (!moved)
            return false;
    }
    return size == 0;
}

} // namespace

bool MovIndex::BringForward()
{
    if (!Find())
        return false;
    const int64_t shift = ChooseShift();
    std::vector<uint8_t> index = Read(fd, place, size);
    if (!MovePlaces(index.data(), size, shift))
        return false;
    const std::vector<uint8_t> head = MakeHead(index, shift);
    MakeRoom(shift);
    Transfer(pwrite, fd, head.data(), static_cast<int64_t>(head.size()), 0);
    if (ftruncate(fd, place + shift) != 0)
        Fail(errno);
    return true;
}

// A file that is in parts ends with another box.
bool MovIndex::Find()
{
    const int64_t end = SizeOf(fd);
    Box last;
    for (int64_t at = 0; at < end; at += last.size)
    {
        last = ReadBox(at, end);
        if (last.type == "ftyp" && at == 0)
            front = last.size;
        if (last.size == 0 || (last.type == "moov" && at + last.size < end))
            return false;
    }
    place = last.offset;
    size = last.size;
    return last.type == "moov" && place > front;
}

/// Of size 0 when there is none.
MovIndex::Box MovIndex::ReadBox(int64_t offset, int64_t end) const
{
    if (end - offset < LARGE_BOX_HEADER)
        return {};
    const std::vector<uint8_t> header = Read(fd, offset, LARGE_BOX_HEADER);
    const bool large = AV_RB32(header.data()) == 1;
    const uint64_t length = large ? AV_RB64(header.data() + BOX_HEADER) : AV_RB32(header.data());
    const bool fits = length >= static_cast<uint64_t>(large ? LARGE_BOX_HEADER : BOX_HEADER) &&
                      length <= static_cast<uint64_t>(end - offset);
    return {{header.begin() + 4, header.begin() + 8}, offset, fits ? static_cast<int64_t>(length) : 0};
}

int64_t MovIndex::ChooseShift() const
{
    if (place - front <= CHEAP_TO_COPY)
        return size;
    return (size + BOX_HEADER + BLOCK - 1) / BLOCK * BLOCK;
}

void MovIndex::MakeRoom(int64_t shift) const
{
    if (shift % BLOCK == 0 && fallocate(fd, FALLOC_FL_INSERT_RANGE, 0, shift) == 0)
        return;
    // not known there, or with other blocks
    if (shift % BLOCK == 0 && errno != EOPNOTSUPP && errno != EINVAL && errno != ENOSYS)
        Fail(errno);
    CopyUp(shift);
}

/// From the end on, so that nothing is overwritten that is still to be read.
void MovIndex::CopyUp(int64_t shift) const
{
    for (int64_t left = place; left > front;)
    {
        const int64_t portion = std::min(left - front, COPIED_AT_ONCE);
        left -= portion;
        const std::vector<uint8_t> bytes = Read(fd, left, portion);
        Transfer(pwrite, fd, bytes.data(), portion, left + shift);
    }
}

/// All up to the packets.
std::vector<uint8_t> MovIndex::MakeHead(const std::vector<uint8_t>& index, int64_t shift) const
{
    std::vector<uint8_t> head = Read(fd, 0, front);
    head.insert(head.end(), index.begin(), index.end());
    const int64_t rest = shift - size;
    head.resize(static_cast<size_t>(front + shift));
    if (rest > 0)
    {
        uint8_t* const nothing = head.data() + front + size;
        AV_WB32(nothing, static_cast<uint32_t>(rest));
        AV_WB32(nothing + 4, AV_RB32("free"));
    }
    return head;
}

} // namespace Tessor::Host
