#include "Proc/CodecParsers/Nal/StartCode.h"

#include <cstring>

namespace Tessor::Proc::CodecParsers
{

// The third byte is sought and the two zeros are checked after it: runs of zeros are common, 01 and 03 are not. The C
// library's memchr is vectorised for the machine at hand, so that no intrinsics are needed here.
size_t FindZeroZero(const uint8_t* data, size_t size, uint8_t third, size_t from)
{
    for (size_t at = from; size >= 3 && at <= size - 3; ++at)
    {
        const void* hit = std::memchr(data + at + 2, third, size - at - 2);
        if (!hit)
            break;
        // all places up to here have another third byte
        at = static_cast<size_t>(static_cast<const uint8_t*>(hit) - data) - 2;
        if (data[at] == 0 && data[at + 1] == 0)
            return at;
    }
    return size;
}

size_t FindStartCode(const uint8_t* data, size_t size, size_t from)
{
    return FindZeroZero(data, size, 1, from);
}

size_t FindStartCodeOf(const uint8_t* data, size_t size, uint8_t code)
{
    for (size_t at = FindStartCode(data, size); at < size; at = FindStartCode(data, size, at + 3))
        if (at + 3 < size && data[at + 3] == code)
            return at;
    return size;
}

bool BeginsWithStartCode(const uint8_t* data, size_t size, uint8_t code)
{
    return size >= 4 && data[0] == 0 && data[1] == 0 && data[2] == 1 && data[3] == code;
}

} // namespace Tessor::Proc::CodecParsers
