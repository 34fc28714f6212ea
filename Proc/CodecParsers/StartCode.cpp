#include "Proc/CodecParsers/StartCode.h"

namespace Tessor::Proc::CodecParsers
{

size_t FindStartCode(const uint8_t* data, size_t size, size_t from)
{
    // The third byte of a prefix decides how far the next one can be: most bytes let the scan step by three.
    for (size_t last = from + 2; last < size;)
    {
        if (data[last] > 1)
            last += 3;
        else if (data[last] == 0)
            ++last;
        else if (data[last - 1] == 0 && data[last - 2] == 0)
            return last - 2;
        else
            last += 3;
    }
    return size;
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
