#pragma once

#include "ffhost/codecs/AvCodec.h"
#include "ffhost/effects/ResizeGeometry.h"

struct AVPixFmtDescriptor;

namespace Tessor::Host
{

/// A record over a part of the picture's memory. The part starts on the grid of the format's chroma samples.
FramePtr ViewPicture(const AVFrame& picture, const PictureRect& part);

/// Paints what lies around the part black, and transparent where the format has alpha.
void PaintBars(AVFrame& picture, const PictureRect& part);

/// Pixels of one component of a format, side by side `step` bytes apart.
struct ComponentPlane
{
    uint8_t* data;
    ptrdiff_t stride; ///< bytes from row to row
    int step;
    int width;
    int height;

    static ComponentPlane Of(const AVFrame& picture, int component);
    template <class T>
    T& At(int x, int y) const
    {
        return *reinterpret_cast<T*>(data + y * stride + static_cast<ptrdiff_t>(x) * step);
    }
};

/// True for formats whose components are integers of whole bytes in the machine's order, with the value in the lowest
/// bits; palettes and bit-packed formats are none.
bool HasPlainComponents(AVPixelFormat format);

} // namespace Tessor::Host
