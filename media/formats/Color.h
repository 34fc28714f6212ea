#pragma once

#include "Fnd/Export.h"

#include <cstdint>

namespace Tessor
{

/// Red, green, blue and alpha of 8 bits each; alpha 255 is opaque.
class TESSOR_API Color
{
public:
    enum class Opacity
    {
        Opaque = 0,
        Transparent = 1,
    };

    constexpr Color(unsigned char r, unsigned char g, unsigned char b, unsigned char a) : r(r), g(g), b(b), a(a) {}
    static constexpr Color Black(Opacity opacity) { return Color(0, 0, 0, opacity == Opacity::Opaque ? 255 : 0); }

    unsigned char r, g, b, a;
};

} // namespace Tessor
