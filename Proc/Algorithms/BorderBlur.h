#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Proc
{

/// A packed picture of four bytes a pixel, one of which is the alpha.
struct AlphaPicture
{
    uint8_t* data;    ///< of row 0
    ptrdiff_t stride; ///< bytes from one row to the next; may be negative
    int width;        ///< pixels
    int height;
    int alphaByte; ///< place of the alpha in a pixel: 0 or 3
};

/// Gives each pixel of alpha 0 the mean colour, rounded down, of those of another alpha in its window, which for half
/// the matrix size r reaches from r pixels to the left and top to r - 1 to the right and bottom. Pixels with none of
/// those in their window keep their colour; no alpha changes. In place; returns the number of pixels coloured.
///
/// The time does not grow with the matrix size. Parts of the picture with no transparent pixels, or with nothing
/// visible near them, cost no more than being looked at.
TESSOR_API size_t BlurTransparentBorder(const AlphaPicture& picture, int32_t matrixSize);

} // namespace Tessor::Proc
