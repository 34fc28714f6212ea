#pragma once

#include "Fnd/IDataInput.h"

namespace Tessor::Core
{

/// Reads from memory that the caller keeps alive.
class TESSOR_API DataInputMemory final : public IDataInput, public RefCountImpl
{
public:
    static SP<DataInputMemory> Create(const uint8_t* data, size_t size);

    size_t Read(uint8_t* to, size_t size) override;
    size_t BytesLeft() const override { return size - offset; }

private:
    DataInputMemory(const uint8_t* data, size_t size) : data(data), size(size) {}

    const uint8_t* const data;
    const size_t size;
    size_t offset = 0; // bytes read so far
};

} // namespace Tessor::Core
