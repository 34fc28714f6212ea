#include "Proc/Algorithms/BorderBlur.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

namespace Tessor::Proc
{
namespace
{

/// A picture whose rows have bytes after them that belong to nobody.
struct Picture
{
    Picture(int width, int height)
        : width(width), height(height), stride(4 * width + 12), bytes(static_cast<size_t>(stride * height), 0x5A)
    {
    }

    uint8_t* At(int x, int y) { return bytes.data() + static_cast<ptrdiff_t>(y) * stride + 4 * x; }
    AlphaPicture View(int alphaByte) { return {bytes.data(), stride, width, height, alphaByte}; }

    int width;
    int height;
    ptrdiff_t stride;
    std::vector<uint8_t> bytes;
};

/// What BlurTransparentBorder does, by looking at every pixel of every window.
size_t BlurSlowly(Picture& picture, int alpha, int matrixSize)
{
    size_t coloured = 0;
    const int64_t r = matrixSize / 2;
    const auto clamped = [](int64_t value, int most) { return static_cast<int>(std::clamp<int64_t>(value, 0, most)); };
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
        {
            if (picture.At(x, y)[alpha] != 0)
                continue;
            int64_t sums[4] = {};
            int64_t count = 0;
            for (int v = clamped(y - r, picture.height); v < clamped(y + r, picture.height); ++v)
                for (int u = clamped(x - r, picture.width); u < clamped(x + r, picture.width); ++u)
                {
                    if (picture.At(u, v)[alpha] == 0)
                        continue;
                    ++count;
                    for (int i = 0; i < 4; ++i)
                        sums[i] += picture.At(u, v)[i];
                }
            coloured += count > 0;
            for (int i = 0; i < 4; ++i)
                if (i != alpha && count > 0)
                    picture.At(x, y)[i] = static_cast<uint8_t>(sums[i] / count);
        }
    return coloured;
}

using Alpha = std::function<unsigned(int x, int y)>;

/// Over random colours.
void ExpectSame(int width, int height, int alphaByte, int matrixSize, std::mt19937& random, const Alpha& alpha)
{
    Picture picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            for (int i = 0; i < 4; ++i)
                picture.At(x, y)[i] = static_cast<uint8_t>(random() % 4 == 0 ? 255 : random());
            picture.At(x, y)[alphaByte] = static_cast<uint8_t>(alpha(x, y));
        }
    SCOPED_TRACE(std::to_string(picture.width) + "x" + std::to_string(picture.height) + " matrix " +
                 std::to_string(matrixSize) + " alpha " + std::to_string(alphaByte));
    Picture slow = picture;
    const size_t expected = BlurSlowly(slow, alphaByte, matrixSize);
    Picture turned = picture; // its rows run bottom-up
    for (int y = 0; y < picture.height; ++y)
        std::copy_n(picture.At(0, y), picture.stride, turned.At(0, picture.height - 1 - y));
    EXPECT_EQ(BlurTransparentBorder(picture.View(alphaByte), matrixSize), expected);
    EXPECT_TRUE(picture.bytes == slow.bytes);
    BlurTransparentBorder({turned.At(0, picture.height - 1), -turned.stride, picture.width, picture.height, alphaByte},
                          matrixSize);
    for (int y = 0; y < picture.height; ++y)
        EXPECT_TRUE(std::equal(slow.At(0, y), slow.At(0, y) + 4 * picture.width, turned.At(0, picture.height - 1 - y)));
}

TEST(BlurTransparentBorder, EqualsTheSlowForm)
{
    std::mt19937 random(1);
    for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i)
    {
        const int width = 1 + static_cast<int>(random() % (i % 3 == 0 ? 200 : 30));
        const int height = 1 + static_cast<int>(random() % 30);
        const unsigned transparentPercent = std::vector<unsigned>{0, 2, 50, 98, 100}[random() % 5];
        const int alphaByte = random() % 2 ? 3 : 0;
        const int matrix = i % 4 == 0 ? static_cast<int>(random() % 700) : static_cast<int>(random() % 12);
        ExpectSame(width, height, alphaByte, matrix, random,
                   [&](int, int) { return random() % 100 < transparentPercent ? 0 : 1 + random() % 255; });
    }
    // large areas of one kind, so that blocks are skipped, left behind and taken up again
    const Alpha shapes[] = {
        [](int x, int y) { return (x - 130) * (x - 130) + (y - 25) * (y - 25) < 400 ? 255 : 0; }, // a logo
        [](int x, int y) { return (x / 70 + y / 12) % 2 == 0 ? 255 : 0; },                        // a chequerboard
        [](int x, int y) { return x == 127 && y % 20 == 7 ? 1 : 0; },                             // single points
        [](int x, int y) { return y < 10 && x < 219 ? 0 : 255; },                                 // a border
    };
    for (const Alpha& shape : shapes)
        for (const int matrix : {2, 5, 33, 130, 500})
            ExpectSame(220, 50, 3, matrix, random, shape);
}

TEST(BlurTransparentBorder, SumsBeyond32Bits)
{
    // All windows hold the whole picture: the mean of 12 million pixels, near 255.
    Picture picture(4000, 3000);
    picture.bytes.assign(picture.bytes.size(), 255);
    for (int x = 0; x < 100; ++x)
        picture.At(x, 5)[2] = 0;
    picture.At(3999, 2999)[3] = 0;
    EXPECT_EQ(BlurTransparentBorder(picture.View(3), INT32_MAX), 1u);
    EXPECT_EQ(picture.At(3999, 2999)[1], 255);
    EXPECT_EQ(picture.At(3999, 2999)[2], 254);
}

TEST(BlurTransparentBorder, BearsAllSizes)
{
    Picture picture(1, 1);
    for (const int matrix : {INT32_MIN, -5, 0, 1})
        EXPECT_EQ(BlurTransparentBorder(picture.View(3), matrix), 0u);
    EXPECT_EQ(BlurTransparentBorder({nullptr, 0, 0, 0, 3}, 5), 0u);
    EXPECT_EQ(BlurTransparentBorder({picture.bytes.data(), 16, 1, 0, 3}, 5), 0u);
}

} // namespace
} // namespace Tessor::Proc
