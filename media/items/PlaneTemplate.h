#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Tessor::Proc::Details
{

/// A view of one plane of a frame; it owns nothing. Rows may run bottom-up (a negative stride).
template <bool isConst>
class PlaneTemplate
{
public:
    using Byte = std::conditional_t<isConst, const uint8_t, uint8_t>;

    PlaneTemplate(Byte* data, ptrdiff_t stride, size_t rowBytes, size_t height)
        : data(data), stride(stride), rowBytes(rowBytes), height(height)
    {
    }

    /// The address of byte `x` in row `y`.
    Byte* GetOffsetPtr(size_t x, size_t y) const { return data + static_cast<ptrdiff_t>(y) * stride + x; }
    /// Bytes from one row to the next.
    ptrdiff_t GetStride() const { return stride; }
    /// Bytes of a row that hold pixels.
    size_t GetRowBytes() const { return rowBytes; }
    size_t GetHeight() const { return height; }

    /// The same rows in memory order, with a positive stride.
    PlaneTemplate MakePositive() const
    {
        if (stride >= 0 || height == 0)
            return *this;
        return PlaneTemplate(GetOffsetPtr(0, height - 1), -stride, rowBytes, height);
    }

private:
    Byte* data;
    ptrdiff_t stride;
    size_t rowBytes;
    size_t height;
};

} // namespace Tessor::Proc::Details
