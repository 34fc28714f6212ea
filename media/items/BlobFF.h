#pragma once

#include "media/items/IBlob.h"

#include <vector>

namespace Tessor::Proc
{

/// A block of bytes in memory of its own, followed by zeros enough for FFmpeg's readers.
class TESSOR_API BlobFF final : public IBlob, public RefCountImpl
{
public:
    /// Zeros of that size.
    static SP<BlobFF> Create(size_t size);
    /// A copy of the bytes. Throws std::invalid_argument for null, unless there are none.
    static SP<BlobFF> Create(const unsigned char* data, size_t size);

    const uint8_t* Data() const override { return bytes.data(); }
    uint8_t* Data() override { return bytes.data(); }
    size_t Size() const override { return size; }

private:
    explicit BlobFF(size_t size);

    const size_t size;
    std::vector<uint8_t> bytes; // the payload and its padding
};

} // namespace Tessor::Proc
