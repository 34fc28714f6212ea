#include "media/items/BlobFF.h"

#include "Fnd/Exception.h"

#include <algorithm>
#include <limits>

extern "C"
{
#include <libavcodec/defs.h>
}

namespace Tessor::Proc
{

// FFmpeg's readers look past the end of what they are given, and zeros must stand there.
BlobFF::BlobFF(size_t size) : size(size), bytes(size + AV_INPUT_BUFFER_PADDING_SIZE) {}

SP<BlobFF> BlobFF::Create(size_t size)
{
    if (size > std::numeric_limits<size_t>::max() - AV_INPUT_BUFFER_PADDING_SIZE)
        Throw<std::length_error>(TESSOR_HERE, "Blob of " + std::to_string(size) + " bytes");
    return SP<BlobFF>(new BlobFF(size));
}

SP<BlobFF> BlobFF::Create(const unsigned char* data, size_t size)
{
    if (!data && size > 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "data is NULL.");
    SP<BlobFF> blob = Create(size);
    std::copy_n(data, size, blob->bytes.data());
    return blob;
}

} // namespace Tessor::Proc
