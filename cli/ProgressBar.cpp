#include "cli/ProgressBar.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

constexpr size_t longest_bar = 30, shortest_bar = 5;

std::string DescribeWait(double seconds)
{
    const long long whole = std::llround(seconds);
    if (whole < 60)
        return fmt::format("{} s", whole);
    if (whole < 3600)
        return fmt::format("{} min {:02} s", whole / 60, whole % 60);
    return fmt::format("{} h {:02} min", whole / 3600, whole / 60 % 60);
}

} // namespace

std::string MakeProgressBar(const std::string& stage, double done, double rate, double secondsLeft, size_t columns)
{
    const std::string figures = fmt::format("{:3.0f} %  {:.1f}x  {} left", done * 100, rate, DescribeWait(secondsLeft));
    const size_t room = std::max<size_t>(columns, 1) - 1;
    const size_t rest = stage.size() + figures.size() + 4; // spaces and brackets
    std::string line = stage + " " + figures;
    if (room >= rest + shortest_bar)
    {
        const size_t width = std::min(room - rest, longest_bar);
        const auto filled = static_cast<size_t>(done * static_cast<double>(width));
        line = fmt::format("{} [{}{}] {}", stage, std::string(filled, '#'), std::string(width - filled, '.'), figures);
    }
    line.resize(std::min(line.size(), room));
    return line;
}

} // namespace Tessor::Cli
