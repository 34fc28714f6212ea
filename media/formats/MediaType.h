#pragma once

namespace Tessor
{

/// Kinds of streams; None where a caller gives none.
enum class MediaType
{
    None = 0,
    Video = 1,
    Audio = 2,
    Subtitle = 3,
};

} // namespace Tessor
