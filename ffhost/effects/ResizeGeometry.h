#pragma once

#include "Proc/Settings/SettingsResizer.h"

namespace Tessor::Host
{

struct PictureRect
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const PictureRect&) const = default;
};

/// Which part of a picture goes where.
struct ResizeGeometry
{
    Conf::FrameInfo output;
    PictureRect from; ///< within the source
    PictureRect to;   ///< within the output; around it are bars

    /// Places stand on the grid of `subX` by `subY` pixels that share a chroma sample. Without a size in the settings
    /// the output is the source.
    static ResizeGeometry Find(const Proc::SettingsResizer& settings, const Conf::FrameInfo& source, int subX,
                               int subY);
};

} // namespace Tessor::Host
