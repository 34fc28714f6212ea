#pragma once

#include "ffhost/effects/FramePool.h"
#include "ffhost/effects/Scaler.h"

namespace Tessor::Host
{

/// Scales pictures with straight alpha. Every colour counts by its alpha, so that what is invisible does not bleed into
/// what is seen: colours are scaled as products of 16 bits with their alpha, and divided by the scaled alpha.
class AlphaScaler
{
public:
    AlphaScaler();

    /// True for formats with alpha in whole bytes.
    static bool CanScale(AVPixelFormat format);
    /// Both pictures are of one such format.
    void Scale(const AVFrame& from, AVFrame& to);
    void Clear();

private:
    /// What components of one size need.
    struct Grid
    {
        Scaler scaler;
        FramePool sourcePool;
        FramePool targetPool;

        Grid();
        FramePtr Scale(const AVFrame& plane, int width, int height);
    };

    template <class T>
    void ScaleComponents(const AVFrame& from, AVFrame& to);

    Grid luma;
    Grid chroma; // of components with fewer samples
};

} // namespace Tessor::Host
