#include "Proc/Algorithms/BorderBlur.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <random>
#include <vector>

using namespace Tessor::Proc;

namespace
{

constexpr int WIDTH = 1920;
constexpr int HEIGHT = 1080;

enum Shape
{
    Opaque,
    Hole,
    Logo,
    Disc,
    Noise,
    Dots,
};

bool IsVisible(Shape shape, int x, int y, std::mt19937& random)
{
    const int dx = x - WIDTH / 2;
    const int dy = y - HEIGHT / 2;
    const int distance = dx * dx + dy * dy;
    switch (shape)
    {
    case Hole:
        return distance >= 200 * 200;
    case Logo:
        return distance < 200 * 200;
    case Disc:
        return distance < 540 * 540;
    case Noise:
        return random() % 2 != 0;
    case Dots:
        return x % 16 == 0 && y % 16 == 0;
    default:
        return true;
    }
}

std::vector<uint8_t> Paint(Shape shape)
{
    std::mt19937 random(1);
    std::vector<uint8_t> picture(size_t{4} * WIDTH * HEIGHT);
    for (size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<uint8_t>(i % 4 != 3                                                         ? random()
                                          : IsVisible(shape, int(i / 4 % WIDTH), int(i / 4 / WIDTH), random) ? 255
                                                                                                             : 0);
    return picture;
}

/// The measure of the others: a frame copied.
void BM_Copy(benchmark::State& state)
{
    const std::vector<uint8_t> source = Paint(Noise);
    std::vector<uint8_t> target(source.size());
    for (auto _ : state)
    {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
}

/// Visible pixels never change, nor does the alpha: the picture can be blurred again and again.
void BM_Blur(benchmark::State& state, Shape shape)
{
    std::vector<uint8_t> picture = Paint(shape);
    const AlphaPicture view{picture.data(), 4 * WIDTH, WIDTH, HEIGHT, 3};
    for (auto _ : state)
        benchmark::DoNotOptimize(BlurTransparentBorder(view, static_cast<int32_t>(state.range(0))));
}

} // namespace

BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Blur, opaque, Opaque)->Arg(5)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Blur, hole, Hole)->Arg(5)->Arg(51)->Arg(501)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Blur, logo, Logo)->Arg(5)->Arg(51)->Arg(501)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Blur, disc, Disc)->Arg(5)->Arg(51)->Arg(501)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Blur, noise, Noise)->Arg(5)->Arg(51)->Arg(501)->Arg(5001)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Blur, dots, Dots)->Arg(5)->Arg(51)->Arg(501)->Arg(5001)->Unit(benchmark::kMillisecond);
