#include "ffhost/effects/AlphaScaler.h"

#include "ffhost/effects/PictureView.h"

extern "C"
{
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

constexpr AVPixelFormat gray = AV_PIX_FMT_GRAY16;

/// How values of a depth and their products with alpha fit into 15 bits: a bicubic filter overshoots at edges, and
/// alpha that were cut there would no longer fit its colours. The sixteenth bit is for that.
struct Depth
{
    unsigned most;  ///< the largest value
    unsigned shift; ///< what products lose

    explicit Depth(int bits) : most((1U << bits) - 1), shift(static_cast<unsigned>(std::max(2 * bits - 15, 0))) {}
    uint16_t Multiply(unsigned value, unsigned alpha) const
    {
        // 16 bits times 16 bits fill 32, so that no wider type is needed
        return static_cast<uint16_t>((value * alpha) >> shift);
    }
    /// The value whose product with alpha that is.
    unsigned Divide(unsigned product, unsigned weight) const
    {
        const uint64_t scaled = static_cast<uint64_t>(product) * most + weight / 2;
        return static_cast<unsigned>(std::min<uint64_t>(scaled / weight, most));
    }
    /// The alpha of a weight, which is its product with the largest value; beyond that where the filter overshot.
    unsigned GetAlpha(unsigned weight) const
    {
        const unsigned whole = Multiply(most, most);
        return static_cast<unsigned>((static_cast<uint64_t>(weight) * most + whole / 2) / whole);
    }
};

/// Alpha as its product with the largest value, at the resolution of `plane`: the mean of the pixels that share a
/// sample.
template <class T>
void FillWeights(const ComponentPlane& alpha, const Depth& depth, AVFrame& weights)
{
    const ComponentPlane out = ComponentPlane::Of(weights, 0);
    const int blockWidth = (alpha.width + out.width - 1) / out.width;
    const int blockHeight = (alpha.height + out.height - 1) / out.height;
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
        {
            // at an odd edge fewer pixels share a sample
            const int right = std::min((x + 1) * blockWidth, alpha.width);
            const int bottom = std::min((y + 1) * blockHeight, alpha.height);
            unsigned sum = 0, count = 0;
            for (int sourceY = y * blockHeight; sourceY < bottom; ++sourceY)
                for (int sourceX = x * blockWidth; sourceX < right; ++sourceX, ++count)
                    sum += alpha.At<T>(sourceX, sourceY);
            out.At<uint16_t>(x, y) = depth.Multiply(depth.most, (sum + count / 2) / std::max(count, 1U));
        }
}

/// By alpha as the weights have it: for chroma that is the mean of its pixels, which the way back divides by as well.
template <class T>
void FillProducts(const ComponentPlane& values, const AVFrame& weights, const Depth& depth, AVFrame& products)
{
    const ComponentPlane weight = ComponentPlane::Of(weights, 0), out = ComponentPlane::Of(products, 0);
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
            out.At<uint16_t>(x, y) = depth.Multiply(values.At<T>(x, y), depth.GetAlpha(weight.At<uint16_t>(x, y)));
}

/// `unseen` stands where nothing is visible.
template <class T>
void StoreColors(const AVFrame& products, const AVFrame& weights, const Depth& depth, unsigned unseen,
                 const ComponentPlane& values)
{
    const ComponentPlane product = ComponentPlane::Of(products, 0), weight = ComponentPlane::Of(weights, 0);
    for (int y = 0; y < values.height; ++y)
        for (int x = 0; x < values.width; ++x)
        {
            const unsigned w = weight.At<uint16_t>(x, y);
            // Less than a step of alpha is a remainder of rounding, and so would be the colour.
            const bool seen = depth.GetAlpha(w) > 0;
            values.At<T>(x, y) = static_cast<T>(seen ? depth.Divide(product.At<uint16_t>(x, y), w) : unseen);
        }
}

template <class T>
void StoreAlpha(const AVFrame& weights, const Depth& depth, const ComponentPlane& alpha)
{
    const ComponentPlane weight = ComponentPlane::Of(weights, 0);
    for (int y = 0; y < alpha.height; ++y)
        for (int x = 0; x < alpha.width; ++x)
            alpha.At<T>(x, y) = static_cast<T>(std::min(depth.GetAlpha(weight.At<uint16_t>(x, y)), depth.most));
}

} // namespace

AlphaScaler::AlphaScaler() = default;

AlphaScaler::Grid::Grid() : scaler(SWS_BICUBIC | SWS_ACCURATE_RND) {}

FramePtr AlphaScaler::Grid::Scale(const AVFrame& plane, int width, int height)
{
    FramePtr scaled = targetPool.Get(gray, width, height);
    scaler.Scale(plane, *scaled);
    return scaled;
}

bool AlphaScaler::CanScale(AVPixelFormat format)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description && (description->flags & AV_PIX_FMT_FLAG_ALPHA) && HasPlainComponents(format);
}

void AlphaScaler::Scale(const AVFrame& from, AVFrame& to)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(from.format));
    if (description->comp[0].depth > 8)
        ScaleComponents<uint16_t>(from, to);
    else
        ScaleComponents<uint8_t>(from, to);
}

void AlphaScaler::Clear()
{
    for (Grid* grid : {&luma, &chroma})
    {
        grid->scaler.Clear();
        grid->sourcePool.Clear();
        grid->targetPool.Clear();
    }
}

template <class T>
void AlphaScaler::ScaleComponents(const AVFrame& from, AVFrame& to)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(from.format));
    const Depth depth(description->comp[0].depth);
    const int alphaIndex = description->nb_components - 1;
    const ComponentPlane alpha = ComponentPlane::Of(from, alphaIndex);
    FramePtr weights, scaledWeights;
    for (int i = 0; i < alphaIndex; ++i)
    {
        const ComponentPlane source = ComponentPlane::Of(from, i), target = ComponentPlane::Of(to, i);
        // Components of one size share their weights, which the first of them makes.
        const bool sub = source.width != from.width || source.height != from.height;
        Grid& grid = sub ? chroma : luma;
        if (!weights || weights->width != source.width || weights->height != source.height)
        {
            weights = grid.sourcePool.Get(gray, source.width, source.height);
            FillWeights<T>(alpha, depth, *weights);
            scaledWeights = grid.Scale(*weights, target.width, target.height);
        }
        const FramePtr products = grid.sourcePool.Get(gray, source.width, source.height);
        FillProducts<T>(source, *weights, depth, *products);
        // what nobody sees is black, as far as one component can be: differences of colour are 0 in the middle
        const bool difference = i > 0 && !(description->flags & AV_PIX_FMT_FLAG_RGB);
        StoreColors<T>(*grid.Scale(*products, target.width, target.height), *scaledWeights, depth,
                       difference ? depth.most / 2 + 1 : 0, target);
        if (i == 0) // of the same size as alpha in all formats
            StoreAlpha<T>(*scaledWeights, depth, ComponentPlane::Of(to, alphaIndex));
    }
}

} // namespace Tessor::Host
