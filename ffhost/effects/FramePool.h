#pragma once

#include "ffhost/codecs/AvCodec.h"

#include <cstddef>
#include <memory>

struct AVBufferPool;

namespace Tessor::Host
{

/// Pictures of one format and size whose memory is used again once nobody holds it: fresh pages for every picture cost
/// as much as a conversion does. Pictures outlive the pool.
class FramePool
{
public:
    /// A record with a picture whose content is not set, of aligned rows. Throws EffectException for a size or format
    /// that no picture has.
    FramePtr Get(AVPixelFormat format, int width, int height);
    /// Gives unused memory back.
    void Clear() { pool.reset(); }

private:
    struct Deleter
    {
        void operator()(AVBufferPool* pool) const;
    };

    void Adapt(const AVFrame& frame);

    std::unique_ptr<AVBufferPool, Deleter> pool; // for pictures as the last one; null before the first
    // of the pool's pictures
    int format = -1;
    int width = 0;
    int height = 0;
    int strides[4] = {};
    size_t offsets[4] = {};
};

} // namespace Tessor::Host
