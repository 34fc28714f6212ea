#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Proc::CodecParsers
{

/// Offset of the first 00 00 `third` at or after `from`; `size` when there is none. `third` is not 0.
TESSOR_API size_t FindZeroZero(const uint8_t* data, size_t size, uint8_t third, size_t from);

/// Offset of the first start code prefix 00 00 01 at or after `from`; `size` when there is none.
TESSOR_API size_t FindStartCode(const uint8_t* data, size_t size, size_t from = 0);

/// Offset of the first whole start code 00 00 01 `code`; `size` when there is none.
TESSOR_API size_t FindStartCodeOf(const uint8_t* data, size_t size, uint8_t code);

/// Whether the data begins with the start code 00 00 01 `code`.
TESSOR_API bool BeginsWithStartCode(const uint8_t* data, size_t size, uint8_t code);

} // namespace Tessor::Proc::CodecParsers
