#include "media/BlobFF.h"

#include <algorithm>

extern "C"
{
#include <libavcodec/defs.h>
}

namespace Tessor::Proc
{

BlobFF::BlobFF(size_t size) : size(size), bytes(size + AV_INPUT_BUFFER_PADDING_SIZE) {}

SP<BlobFF> BlobFF::Create(size_t size)
{
    return SP<BlobFF>(new BlobFF(size));
}

SP<BlobFF> BlobFF::Create(const unsigned char* data, size_t size)
{
    SP<BlobFF> blob = Create(size);
    std::copy_n(data, size, blob->bytes.data());
    return blob;
}

} // namespace Tessor::Proc
