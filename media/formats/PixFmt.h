#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>

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
    PAL8 = 11,
    YUVJ420P = 12,
    YUVJ422P = 13,
    YUVJ444P = 14,
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

    /// The format of FFmpeg's name, None for an unknown name.
    static PixFmt FindByName(const std::string& name);

    PixFmt GetPixFmt() const { return format; }
    /// FFmpeg's name of the format, such as "yuv420p".
    const std::string& GetName() const { return name; }
    /// Planes as they are stored, a palette among them; 0 for frames outside of main memory.
    int GetPlanesCount() const { return planes; }
    bool HasAlpha() const { return alpha; }
    /// Bits of the deepest component.
    int GetDepth() const { return depth; }
    /// Bytes that all planes of such a frame take, with no padding. 0 for a side of 0; throws std::invalid_argument for
    /// sizes that no frame can have.
    size_t GetAllPlanesFullSize(int width, int height) const;

private:
    PixFmt format = PixFmt::None;
    std::string name;
    int planes = 0;
    int depth = 0;
    bool alpha = false;
};

} // namespace Tessor
