#include "ffhost/effects/FramePool.h"

#include "Fnd/Exception.h"
#include "ffhost/effects/Frames.h"

extern "C"
{
#include <libavutil/buffer.h>
#include <libavutil/imgutils.h>
}

namespace Tessor::Host
{

namespace
{

constexpr int alignment = 64; // of the widest vectors
// Some of libswscale's loops work on whole vectors past the last row.
constexpr size_t tail = 64;

} // namespace

void FramePool::Deleter::operator()(AVBufferPool* pool) const
{
    av_buffer_pool_uninit(&pool);
}

FramePtr FramePool::Get(AVPixelFormat pixels, int newWidth, int newHeight)
{
    FramePtr frame = MakeFrame();
    frame->format = pixels;
    frame->width = newWidth;
    frame->height = newHeight;
    if (!pool || format != pixels || width != newWidth || height != newHeight)
        Adapt(*frame);
    frame->buf[0] = av_buffer_pool_get(pool.get()); // of all planes
    if (!frame->buf[0])
        throw std::bad_alloc();
    for (int i = 0; i < 4 && strides[i]; ++i)
    {
        frame->data[i] = frame->buf[0]->data + offsets[i];
        frame->linesize[i] = strides[i];
    }
    return frame;
}

void FramePool::Adapt(const AVFrame& frame)
{
    const auto pixels = static_cast<AVPixelFormat>(frame.format);
    int lines[4] = {};
    size_t sizes[4] = {};
    pool.reset();
    // Checked by libavutil before anything is multiplied: sizes come from files.
    bool valid = av_image_check_size2(static_cast<unsigned>(frame.width), static_cast<unsigned>(frame.height),
                                      INT64_MAX, pixels, 0, nullptr) >= 0 &&
                 av_image_fill_linesizes(lines, pixels, frame.width) >= 0;
    ptrdiff_t rows[4] = {};
    for (int i = 0; i < 4; ++i)
        rows[i] = strides[i] = FFALIGN(lines[i], alignment);
    valid = valid && av_image_fill_plane_sizes(sizes, pixels, frame.height, rows) >= 0;
    if (!valid)
        Throw<Proc::EffectException>(TESSOR_HERE, "No picture of " + std::to_string(frame.width) + "x" +
                                                      std::to_string(frame.height) + " pixels of format " +
                                                      std::to_string(frame.format));
    size_t total = 0;
    for (int i = 0; i < 4; ++i)
    {
        offsets[i] = total;
        total += FFALIGN(sizes[i], static_cast<size_t>(alignment));
    }
    pool.reset(av_buffer_pool_init(total + tail, nullptr));
    if (!pool)
        throw std::bad_alloc();
    format = frame.format;
    width = frame.width;
    height = frame.height;
}

} // namespace Tessor::Host
