#pragma once

#include <cstdint>

namespace Tessor
{

/// The kind of memory that a frame lives in, or that a filter or effect works in.
enum FrameAllocType : uint32_t
{
    FRAME_ALLOC_CPU = 0,  ///< main memory
    FRAME_ALLOC_OGL = 1,  ///< an OpenGL texture
    FRAME_ALLOC_ANY = 4,  ///< either of the two
    FRAME_ALLOC_NONE = 5, ///< no demand of its own: items are handed through
};

} // namespace Tessor
