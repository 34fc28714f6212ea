#pragma once

#include "Fnd/IDataOutput.h"

#include <string>

namespace Tessor::Core
{

/// Collects bytes in a string.
class TESSOR_API DataOutputString final : public IDataOutput, public RefCountImpl
{
public:
    static SP<DataOutputString> Create() { return SP<DataOutputString>(new DataOutputString); }

    void Write(const uint8_t* data, size_t size) override { text.append(reinterpret_cast<const char*>(data), size); }
    const std::string& GetString() const { return text; }

private:
    DataOutputString() = default;

    std::string text; // all that was written
};

} // namespace Tessor::Core
