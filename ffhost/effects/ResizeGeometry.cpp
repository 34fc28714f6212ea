#include "ffhost/effects/ResizeGeometry.h"

#include <algorithm>
#include <cmath>

namespace Tessor::Host
{

using Modes = Proc::SettingsResizer::CustomModes;

namespace
{

constexpr int longest_side = 16384; // as far as the settings go

int Round(double length)
{
    return static_cast<int>(std::clamp(std::round(length), 1.0, static_cast<double>(longest_side)));
}

/// The part of `whole` that is `wanted` long, in the middle and on the grid. What would be all of it but for the
/// rounding is all of it, for a bar of one row would only be seen as a fault.
void Center(double wanted, int whole, int grid, int& start, int& length)
{
    const int steps = Round(wanted / grid) * grid;
    length = wanted > whole - 0.5 || steps > whole ? whole : steps;
    start = (whole - length) / 2 / grid * grid;
}

Conf::FrameInfo FindOutput(const Proc::SettingsResizer& settings, const Conf::FrameInfo& source, double shape, int subX,
                           int subY)
{
    const bool square = settings.aspect.numerator() <= 0;
    Conf::FrameInfo output(settings.width, settings.height,
                           square ? 1 : static_cast<unsigned>(settings.aspect.numerator()),
                           square ? 1 : static_cast<unsigned>(settings.aspect.denominator()));
    if (output.width == 0)
        output.width = std::min(Round(output.height * shape / subX) * subX, longest_side);
    else if (output.height == 0)
        output.height = std::min(Round(output.width / shape / subY) * subY, longest_side);
    return settings.width == 0 && settings.height == 0 ? source : output;
}

} // namespace

ResizeGeometry ResizeGeometry::Find(const Proc::SettingsResizer& settings, const Conf::FrameInfo& source, int subX,
                                    int subY)
{
    const bool square = settings.aspect.numerator() <= 0;
    const double pixel = square ? 1.0 : boost::rational_cast<double>(settings.aspect);
    // Width over height of the source in pixels of the output.
    const double shape = static_cast<double>(source.width) * source.aspectNum /
                         (static_cast<double>(source.height) * source.aspectDen * pixel);
    ResizeGeometry result;
    result.output = FindOutput(settings, source, shape, subX, subY);
    result.from = {0, 0, source.width, source.height};
    result.to = {0, 0, result.output.width, result.output.height};
    if (result.output == source || settings.mode == Modes::Exact || settings.width == 0 || settings.height == 0)
        return result;
    const double wanted = static_cast<double>(result.output.width) / result.output.height;
    // Fit leaves bars in the output, Fill leaves out edges of the source. In either case one side of that rectangle
    // gets shorter, by the ratio of the two shapes.
    PictureRect& part = settings.mode == Modes::Fit ? result.to : result.from;
    const PictureRect whole = part;
    const bool narrow = (settings.mode == Modes::Fit) == (shape < wanted);
    const double ratio = shape < wanted ? shape / wanted : wanted / shape;
    if (narrow)
        Center(whole.width * ratio, whole.width, subX, part.x, part.width);
    else
        Center(whole.height * ratio, whole.height, subY, part.y, part.height);
    return result;
}

} // namespace Tessor::Host
