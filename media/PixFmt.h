#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>

namespace Tessor
{

/// Pixel formats under the numbers of FFmpeg's AVPixelFormat; any of them may be carried, the common ones have names.
enum class PixFmt : int
{
    None = -1,
    YUV420P = 0,
    YUYV422 = 1,
    RGB24 = 2,
    BGR24 = 3,
    YUV422P = 4,
    YUV444P = 5,
    GRAY8 = 8,
    YUVJ420P = 12,
    NV12 = 23,
    ARGB = 25,
    RGBA = 26,
    ABGR = 27,
    BGRA = 28,
    YUVA420P = 33,
};

/// Description of a pixel format.
class TESSOR_API PixFmtDescription
{
public:
    /// Throws std::invalid_argument for a value that is no pixel format.
    static PixFmtDescription Find(PixFmt format);

    PixFmt GetPixFmt() const { return format; }
    int GetPlanesCount() const { return planes; }
    bool HasAlpha() const { return alpha; }
    /// Bits of the deepest component.
    int GetDepth() const { return depth; }
    /// Bytes that all planes of such a frame take, with no padding.
    size_t GetAllPlanesFullSize(int width, int height) const;

private:
    PixFmt format = PixFmt::None;
    int planes = 0;
    int depth = 0;
    bool alpha = false;
};

} // namespace Tessor
