#pragma once

#include "ffhost/codecs/AvCodec.h"

#include <memory>

struct SwsContext;

namespace Tessor::Host
{

/// Which code of a picture stands for which colour.
struct PictureColors
{
    int matrix = 0; ///< AVColorSpace
    bool fullRange = false;

    /// As the record says. Where it does not, the matrix is that of BT.601, as FFmpeg takes it.
    static PictureColors Of(const AVFrame& frame);
    bool operator==(const PictureColors&) const = default;
};

/// Converts between formats and sizes by libswscale, on all cores. It keeps what it has set up for the last pair of
/// pictures.
class Scaler
{
public:
    /// `flags` are those of libswscale.
    explicit Scaler(int flags) : flags(flags) {}

    /// Fills the picture of `to`, whose colours are set by what it says itself. Throws EffectException for formats that
    /// libswscale can't convert.
    void Scale(const AVFrame& from, AVFrame& to);
    void Clear() { context.reset(); }

private:
    struct Deleter
    {
        void operator()(SwsContext* context) const;
    };
    struct Side
    {
        int format = -1;
        int width = 0;
        int height = 0;
        PictureColors colors;

        static Side Of(const AVFrame& frame);
        bool operator==(const Side&) const = default;
    };

    void Open();

    const int flags;
    std::unique_ptr<SwsContext, Deleter> context; // for the two sides; null before the first picture
    Side source;
    Side target;
};

} // namespace Tessor::Host
