#include "Proc/Algorithms/BorderBlur.h"

#include <algorithm>
#include <cstring>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Tessor::Proc
{

namespace
{

/// Pixels of a row that are judged, and whose sums are kept up to date, together.
constexpr int BLOCK = 64;

/// Windows of up to this many pixels are divided exactly by floats: the sum of a colour and a half is at least 0.5 / n
/// away from all multiples of n, which is more than the two roundings of a quotient below 256 take.
constexpr int64_t MAX_FLOAT_AREA = 8192;
/// Sums over windows of up to this many pixels fit 32 bits.
constexpr int64_t MAX_INT32_AREA = INT32_MAX / 255;

// One lane a byte of the pixel.
using Bytes16 = uint8_t __attribute__((vector_size(16)));
using Pixels4 = uint32_t __attribute__((vector_size(16)));
using Sums = int32_t __attribute__((vector_size(16)));
using Floats = float __attribute__((vector_size(16)));
using Doubles = double __attribute__((vector_size(32)));

template <class T>
T Load(const uint8_t* from)
{
    T value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

/// Four pixels as their sixteen numbers.
struct Widened
{
    Sums pixel[4];
};

Widened Widen(Pixels4 pixels)
{
    Widened wide;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(reinterpret_cast<__m128i>(pixels), zero);
    const __m128i high = _mm_unpackhi_epi8(reinterpret_cast<__m128i>(pixels), zero);
    wide.pixel[0] = reinterpret_cast<Sums>(_mm_unpacklo_epi16(low, zero));
    wide.pixel[1] = reinterpret_cast<Sums>(_mm_unpackhi_epi16(low, zero));
    wide.pixel[2] = reinterpret_cast<Sums>(_mm_unpacklo_epi16(high, zero));
    wide.pixel[3] = reinterpret_cast<Sums>(_mm_unpackhi_epi16(high, zero));
#else
    const Bytes16 bytes = reinterpret_cast<Bytes16>(pixels);
    for (int i = 0; i < 16; ++i)
        wide.pixel[i / 4][i % 4] = bytes[i];
#endif
    return wide;
}

/// Numbers of 0 to 255 as a pixel.
uint32_t Narrow(Sums values)
{
#ifdef __SSE2__
    const __m128i words = _mm_packs_epi32(reinterpret_cast<__m128i>(values), _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
#else
    uint8_t bytes[4];
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(values[i]);
    return Load<uint32_t>(bytes);
#endif
}

/// How sums are kept and divided, by the size of the window. `Divide` takes sums of colours and a count above 0.
struct SmallWindow
{
    using Total = Sums;
    static Sums Divide(Total sums, int32_t count)
    {
        return __builtin_convertvector(
            (__builtin_convertvector(sums, Floats) + 0.5F) * (1.0F / static_cast<float>(count)), Sums);
    }
};

struct LargeWindow
{
    using Total = Sums;
    static Sums Divide(Total sums, int32_t count)
    {
        return __builtin_convertvector(
            (__builtin_convertvector(sums, Doubles) + 0.5) * (1.0 / static_cast<double>(count)), Sums);
    }
};

struct HugeWindow
{
    struct Total
    {
        int64_t lanes[4];

        int64_t operator[](int lane) const { return lanes[lane]; }
        Total& operator+=(Sums column)
        {
            for (int i = 0; i < 4; ++i)
                lanes[i] += column[i];
            return *this;
        }
    };

    static Sums Divide(const Total& sums, int64_t count)
    {
        Sums means;
        for (int i = 0; i < 4; ++i)
            means[i] = static_cast<int32_t>((static_cast<double>(sums[i]) + 0.5) / static_cast<double>(count));
        return means;
    }
};

/// One run over a picture. Each column of pixels has the sums of its colours, and in the lane of the alpha the count,
/// of the visible pixels in the rows of the window; a window's sums are those of its columns, and slide along the row.
/// Columns follow the window in blocks, and only when a pixel needs them.
template <int AlphaByte>
class BorderBlur
{
public:
    BorderBlur(const AlphaPicture& picture, int reach)
        : picture(picture), reach(reach), blocks((picture.width + BLOCK - 1) / BLOCK), alphaMask(MaskOfByte(255)),
          one(MaskOfByte(1))
    {
    }

    size_t Run()
    {
        Scan();
        if (!anyTransparent || CountVisibleBlocks(0, picture.height, 0, picture.width) == 0)
            return 0;
        columns.assign(static_cast<size_t>(picture.width) + 2 * static_cast<size_t>(reach), Sums{});
        windows.assign(static_cast<size_t>(blocks), Rows{});
        const int64_t area = int64_t{std::min(2 * reach, picture.width)} * std::min(2 * reach, picture.height);
        return area <= MAX_FLOAT_AREA   ? ColourRows<SmallWindow>()
               : area <= MAX_INT32_AREA ? ColourRows<LargeWindow>()
                                        : ColourRows<HugeWindow>();
    }

private:
    /// Half-open.
    struct Rows
    {
        int begin = 0;
        int end = 0;

        bool operator==(const Rows&) const = default;
    };

    /// The sums that a row began with: rows that see the same ones begin alike.
    template <class Window>
    struct Start
    {
        Rows window;
        int place = -1; // of the pixel, -1 before there is one
        typename Window::Total total{};
    };

    static uint32_t MaskOfByte(uint8_t value)
    {
        uint8_t bytes[4] = {};
        bytes[AlphaByte] = value;
        return Load<uint32_t>(bytes);
    }

    uint8_t* At(int x, int y) const { return picture.data + y * picture.stride + ptrdiff_t{4} * x; }
    int BlockEnd(int block) const { return std::min((block + 1) * BLOCK, picture.width); }

    // Where there is something to do

    void Scan();
    void ScanBlock(int block, int y, bool& transparent, bool& visible) const;
    /// Blocks with visible pixels among those that the rectangle touches; its ends are exclusive.
    uint32_t CountVisibleBlocks(int rowBegin, int rowEnd, int columnBegin, int columnEnd) const;
    /// Whether the block has transparent pixels with something visible near them.
    bool IsToColour(int block, int y, Rows window) const;

    // Sums of columns

    void MoveColumns(int columnBegin, int columnEnd, Rows window);
    void MoveBlock(int block, Rows window);
    /// Adds the visible pixels of a row to the columns of a block, or takes them off.
    template <bool add>
    void Accumulate(int block, int y);
    template <bool add>
    void AccumulateRows(int block, int begin, int end)
    {
        for (int y = begin; y < end; ++y)
            if (CountVisibleBlocks(y, y + 1, block * BLOCK, BlockEnd(block)) != 0)
                Accumulate<add>(block, y);
    }

    // Colours

    template <class Window>
    size_t ColourRows();
    template <class Window>
    size_t ColourRow(int y, Start<Window>& start);
    /// Brings the sums of one pixel's window to another one's further right.
    template <class Window>
    void MoveTotal(int from, int to, typename Window::Total& total) const;
    /// Colours pixels of a row and leaves `total` at the window of the pixel after them.
    template <class Window>
    size_t ColourRun(int begin, int end, int y, typename Window::Total& total) const;
    template <class Count>
    bool IsToPass(int x, int y, Count count, const Sums* entering) const;
    /// 1 when it is coloured.
    template <class Window>
    uint32_t ColourPixel(uint8_t* pixel, const typename Window::Total& total) const;

    const AlphaPicture picture;
    const int reach; // half the matrix size
    const int blocks;
    const uint32_t alphaMask;
    const uint32_t one; // a count of 1 in the place of the alpha
    bool anyTransparent = false;
    std::vector<uint8_t> transparentBlocks; // by row and block
    std::vector<uint32_t> visibleSums;      // blocks with visible pixels above and left of a corner
    std::vector<Sums> columns;              // by x + reach: there are `reach` empty ones on both sides
    std::vector<Rows> windows;              // by block: the rows that its columns have sums of
};

template <int AlphaByte>
void BorderBlur<AlphaByte>::ScanBlock(int block, int y, bool& transparent, bool& visible) const
{
    const int end = BlockEnd(block);
    int x = block * BLOCK;
    // least and greatest values of each byte: of the alphas as of the rest, which is cheaper than to pick them out
    Bytes16 least = reinterpret_cast<Bytes16>(~Pixels4{});
    Bytes16 greatest{};
    for (; x + 4 <= end; x += 4)
    {
        const auto bytes = Load<Bytes16>(At(x, y));
        least = bytes < least ? bytes : least;
        greatest = bytes > greatest ? bytes : greatest;
    }
    bool clear = false;
    bool set = false;
    for (int i = AlphaByte; i < 16; i += 4)
    {
        clear |= least[i] == 0;
        set |= greatest[i] != 0;
    }
    for (; x < end; ++x)
    {
        const bool shown = (Load<uint32_t>(At(x, y)) & alphaMask) != 0;
        set |= shown;
        clear |= !shown;
    }
    transparent = clear;
    visible = set;
}

template <int AlphaByte>
void BorderBlur<AlphaByte>::Scan()
{
    const auto across = static_cast<size_t>(blocks);
    transparentBlocks.resize(across * static_cast<size_t>(picture.height));
    visibleSums.assign((across + 1) * (static_cast<size_t>(picture.height) + 1), 0);
    for (int y = 0; y < picture.height; ++y)
    {
        uint8_t* const flags = transparentBlocks.data() + static_cast<size_t>(y) * across;
        const uint32_t* const above = visibleSums.data() + static_cast<size_t>(y) * (across + 1);
        uint32_t* const sums = visibleSums.data() + static_cast<size_t>(y + 1) * (across + 1);
        uint32_t inRow = 0;
        for (int block = 0; block < blocks; ++block)
        {
            bool transparent = false;
            bool visible = false;
            ScanBlock(block, y, transparent, visible);
            flags[block] = transparent;
            anyTransparent |= transparent;
            inRow += visible;
            sums[block + 1] = above[block + 1] + inRow;
        }
    }
}

template <int AlphaByte>
uint32_t BorderBlur<AlphaByte>::CountVisibleBlocks(int rowBegin, int rowEnd, int columnBegin, int columnEnd) const
{
    // four corners of the table of sums give any rectangle
    const size_t begin = static_cast<size_t>(columnBegin / BLOCK);
    const size_t end = static_cast<size_t>((columnEnd - 1) / BLOCK) + 1;
    const size_t across = static_cast<size_t>(blocks) + 1;
    const uint32_t* const top = visibleSums.data() + static_cast<size_t>(rowBegin) * across;
    const uint32_t* const bottom = visibleSums.data() + static_cast<size_t>(rowEnd) * across;
    return bottom[end] - bottom[begin] - top[end] + top[begin];
}

template <int AlphaByte>
bool BorderBlur<AlphaByte>::IsToColour(int block, int y, Rows window) const
{
    if (!transparentBlocks[static_cast<size_t>(y) * static_cast<size_t>(blocks) + static_cast<size_t>(block)])
        return false;
    return CountVisibleBlocks(window.begin, window.end, std::max(block * BLOCK - reach, 0),
                              std::min(BlockEnd(block) - 1 + reach, picture.width)) != 0;
}

template <int AlphaByte>
template <bool add>
void BorderBlur<AlphaByte>::Accumulate(int block, int y)
{
    const auto change = [](Sums& column, Sums pixel) { add ? column += pixel : column -= pixel; };
    const int end = BlockEnd(block);
    int x = block * BLOCK;
    Sums* column = columns.data() + reach + x;
    for (; x + 4 <= end; x += 4, column += 4)
    {
        const Pixels4 pixels = Load<Pixels4>(At(x, y));
        const Pixels4 visible = reinterpret_cast<Pixels4>((pixels & alphaMask) != 0);
        const Widened wide = Widen(((pixels & ~alphaMask) | one) & visible);
        for (int i = 0; i < 4; ++i)
            change(column[i], wide.pixel[i]);
    }
    for (; x < end; ++x, ++column)
    {
        const uint32_t pixel = Load<uint32_t>(At(x, y));
        if (pixel & alphaMask)
            change(*column, Widen(Pixels4{(pixel & ~alphaMask) | one}).pixel[0]);
    }
}

template <int AlphaByte>
void BorderBlur<AlphaByte>::MoveBlock(int block, Rows window)
{
    // Rows come in order, so that windows move down only. Where more rows change than the window has, or none is
    // common to both, it is cheaper to sum the window afresh.
    Rows& rows = windows[static_cast<size_t>(block)];
    if (rows == window)
        return;
    if (rows.end - window.begin <= 0 || window.begin - rows.begin + window.end - rows.end > window.end - window.begin)
    {
        std::fill_n(columns.begin() + reach + block * BLOCK, BlockEnd(block) - block * BLOCK, Sums{});
        AccumulateRows<true>(block, window.begin, window.end);
    }
    else
    {
        AccumulateRows<false>(block, rows.begin, window.begin);
        AccumulateRows<true>(block, rows.end, window.end);
    }
    rows = window;
}

template <int AlphaByte>
void BorderBlur<AlphaByte>::MoveColumns(int columnBegin, int columnEnd, Rows window)
{
    const int begin = std::max(columnBegin, 0);
    const int end = std::min(columnEnd, picture.width);
    for (int block = begin / BLOCK; block <= (end - 1) / BLOCK; ++block)
        MoveBlock(block, window);
}

template <int AlphaByte>
template <class Window>
size_t BorderBlur<AlphaByte>::ColourRun(int begin, int end, int y, typename Window::Total& total) const
{
    size_t coloured = 0;
    // what is written might be any of the members, for all that the compiler knows
    const Sums* const first = columns.data();
    const int ahead = 2 * reach;
    const int width = picture.width;
    uint8_t* const row = At(0, y);
    for (int x = begin; x < end;)
    {
        const Sums* const leaving = first + x;
        const Sums* const entering = leaving + ahead;
        if (x + 4 < end && IsToPass(x, y, total[AlphaByte], entering))
        {
            total += entering[0] + entering[1] - leaving[0] - leaving[1];
            total += entering[2] + entering[3] - leaving[2] - leaving[3];
            x += 4;
            continue;
        }
        // near an edge the test above fails again and again, so that it is not made for each pixel there
        for (const int stop = std::min(x + 16, end); x < stop;)
        {
            coloured += ColourPixel<Window>(row + ptrdiff_t{4} * x, total);
            // the last pixel of a row has no column to come
            if (++x < width)
                total += first[x + ahead - 1] - first[x - 1];
        }
    }
    return coloured;
}

/// Whether the four pixels are all visible, or have nothing visible near them.
template <int AlphaByte>
template <class Count>
bool BorderBlur<AlphaByte>::IsToPass(int x, int y, Count count, const Sums* entering) const
{
    const auto clear = reinterpret_cast<Pixels4>((Load<Pixels4>(At(x, y)) & alphaMask) == 0);
    if ((clear[0] | clear[1] | clear[2] | clear[3]) == 0)
        return true;
    // on their way right, the windows of the other three gain these columns and no others
    return count == 0 && (entering[0] + entering[1] + entering[2])[AlphaByte] == 0;
}

template <int AlphaByte>
template <class Window>
uint32_t BorderBlur<AlphaByte>::ColourPixel(uint8_t* pixel, const typename Window::Total& total) const
{
    // no branches: they would be wrong too often where opaque and transparent pixels mix
    const uint32_t old = Load<uint32_t>(pixel);
    const auto count = total[AlphaByte];
    const uint32_t changes = uint32_t{(old & alphaMask) == 0} & uint32_t{count != 0};
    const uint32_t mean = Narrow(Window::Divide(total, count + (count == 0 ? 1 : 0))) & ~alphaMask;
    const uint32_t mask = 0 - changes;
    const uint32_t result = (old & ~mask) | (mean & mask);
    std::memcpy(pixel, &result, sizeof(result));
    return changes;
}

template <int AlphaByte>
template <class Window>
void BorderBlur<AlphaByte>::MoveTotal(int from, int to, typename Window::Total& total) const
{
    // As long as the windows overlap, only columns that have followed the rows are touched.
    if (from >= 0 && to - from <= 2 * reach)
    {
        for (const Sums* column = columns.data() + from; column != columns.data() + to; ++column)
            total += column[2 * reach] - column[0];
        return;
    }
    total = typename Window::Total{};
    const Sums* const end = columns.data() + std::min(to + 2 * reach, reach + picture.width);
    for (const Sums* column = columns.data() + std::max(to, reach); column < end; ++column)
        total += *column;
}

template <int AlphaByte>
template <class Window>
size_t BorderBlur<AlphaByte>::ColourRow(int y, Start<Window>& start)
{
    const Rows window{std::max(y - reach, 0), static_cast<int>(std::min(int64_t{y} + reach, int64_t{picture.height}))};
    if (CountVisibleBlocks(window.begin, window.end, 0, picture.width) == 0)
        return 0;
    size_t coloured = 0;
    typename Window::Total total{};
    int place = -1; // the pixel whose window `total` is of; -1: of none
    for (int block = 0; block < blocks; ++block)
    {
        if (!IsToColour(block, y, window))
            continue;
        const int begin = block * BLOCK;
        const int end = BlockEnd(block);
        MoveColumns(begin - reach, end + reach, window); // with the column that enters after the run
        if (place < 0 && start.place == begin && start.window == window)
            total = start.total;
        else
            MoveTotal<Window>(place, begin, total);
        if (place < 0)
            start = {window, begin, total};
        coloured += ColourRun<Window>(begin, end, y, total);
        place = end;
    }
    return coloured;
}

template <int AlphaByte>
template <class Window>
size_t BorderBlur<AlphaByte>::ColourRows()
{
    size_t coloured = 0;
    Start<Window> start;
    for (int y = 0; y < picture.height; ++y)
        coloured += ColourRow(y, start);
    return coloured;
}

} // namespace

size_t BlurTransparentBorder(const AlphaPicture& picture, int32_t matrixSize)
{
    // A window that reaches beyond the picture on all sides does not see more by reaching further.
    const int reach = std::min(matrixSize / 2, std::max(picture.width, picture.height));
    if (reach < 1 || picture.width < 1 || picture.height < 1)
        return 0;
    return picture.alphaByte == 0 ? BorderBlur<0>(picture, reach).Run() : BorderBlur<3>(picture, reach).Run();
}

} // namespace Tessor::Proc
