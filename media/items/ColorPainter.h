#pragma once

#include "media/formats/Color.h"
#include "media/formats/PixFmt.h"
#include "media/items/PlaneTemplate.h"

#include <array>

struct AVPixFmtDescriptor;

namespace Tessor::Proc::Details
{

/// Paints planes with one colour. Where the components lie comes from FFmpeg's description of the format, so that every
/// format of whole bytes is served alike.
class ColorPainter
{
public:
    /// YUV formats that have no range of their own take the full one when told so. Throws Exception with the format's
    /// name when its components are not bytes of RGB, grey or YUV.
    ColorPainter(const Color& color, PixFmt format, bool fullRange);

    void Paint(int index, const PlaneTemplate<false>& plane) const;

private:
    const AVPixFmtDescriptor* const description;
    std::array<uint8_t, 4> components{}; // values in the order of the description
};

} // namespace Tessor::Proc::Details
