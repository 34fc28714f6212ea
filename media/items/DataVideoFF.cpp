#include "media/items/DataVideoFF.h"

#include "Fnd/Exception.h"
#include "media/FFmpegCompat.h"
#include "media/items/ColorPainter.h"

extern "C"
{
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <memory>

namespace Tessor::Proc
{

namespace
{

constexpr int row_alignment = 64; // that of the widest vectors, so that no reader has to copy rows first
constexpr size_t palette_bytes = AVPALETTE_SIZE;

struct FreeFrame
{
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

struct UnrefBuffer
{
    void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};

AVPixelFormat GetFormat(const AVFrame& frame)
{
    return static_cast<AVPixelFormat>(frame.format);
}

Frame Checked(AVFrame* frame, const char* failure)
{
    if (!frame)
        Throw<Exception>(TESSOR_HERE, failure);
    return Frame(frame);
}

Frame MakeRecord(PixFmt format, const Conf::FrameInfo& info)
{
    Frame frame = Checked(av_frame_alloc(), "Can't allocate a frame");
    frame->format = static_cast<int>(format);
    frame->width = info.width;
    frame->height = info.height;
    frame->sample_aspect_ratio = AVRational{static_cast<int>(info.aspectNum), static_cast<int>(info.aspectDen)};
    return frame;
}

void AllocatePicture(AVFrame& frame)
{
    if (av_frame_get_buffer(&frame, row_alignment) < 0)
        Throw<Exception>(TESSOR_HERE, "Can't allocate the picture of a frame");
}

/// The padding of rows too, which the allocation leaves as it finds it.
void ZeroPicture(AVFrame& frame)
{
    for (AVBufferRef* buffer : frame.buf)
        if (buffer)
            std::fill_n(buffer->data, buffer->size, uint8_t{0});
}

/// A frame of the same properties over a picture of its own, with aligned rows that run top-down.
Frame CopyDeep(const AVFrame& source)
{
    Frame copy = Checked(av_frame_alloc(), "Can't allocate a frame");
    copy->format = source.format;
    copy->width = source.width;
    copy->height = source.height;
    AllocatePicture(*copy);
    if (av_frame_copy(copy.get(), &source) < 0 || av_frame_copy_props(copy.get(), &source) < 0)
        Throw<Exception>(TESSOR_HERE, "Can't copy a frame");
    return copy;
}

/// Those of the pixels, and a palette.
bool HasPlanes(const AVFrame& frame, const AVPixFmtDescriptor& description)
{
    const int palettes = (description.flags & AV_PIX_FMT_FLAG_PAL) != 0 ? 1 : 0;
    const int planes = av_pix_fmt_count_planes(GetFormat(frame)) + palettes;
    return std::all_of(frame.data, frame.data + planes, [](const uint8_t* plane) { return plane != nullptr; });
}

int CeilShift(int value, int shift)
{
    // a shift of a negative number rounds down, away from zero
    return -((-value) >> shift);
}

template <bool isConst>
Details::PlaneTemplate<isConst> ViewPlane(const AVFrame& frame, int index)
{
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(GetFormat(frame));
    const bool palette = index == 1 && (description->flags & AV_PIX_FMT_FLAG_PAL) != 0;
    if (index < 0 || (!palette && index >= av_pix_fmt_count_planes(GetFormat(frame))))
        Throw<std::out_of_range>(TESSOR_HERE, "No plane " + std::to_string(index) + " in " + description->name);
    if (palette)
        return {frame.data[1], static_cast<ptrdiff_t>(palette_bytes), palette_bytes, 1};
    // plane 3 is an alpha of full size; formats without subsampled chroma have a shift of 0
    const bool chroma = index == 1 || index == 2;
    return {frame.data[index], frame.linesize[index],
            static_cast<size_t>(av_image_get_linesize(GetFormat(frame), frame.width, index)),
            static_cast<size_t>(CeilShift(frame.height, chroma ? description->log2_chroma_h : 0))};
}

} // namespace

SP<DataVideoFF> DataVideoFF::Create(PixFmt format, const Conf::FrameInfo& info, AVBufferRef* buffer)
{
    std::unique_ptr<AVBufferRef, UnrefBuffer> owned(buffer);
    const size_t size = PixFmtDescription::Find(format).GetAllPlanesFullSize(info.width, info.height);
    if (size == 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "A frame without pixels");
    Frame frame = MakeRecord(format, info);
    if (!buffer)
    {
        AllocatePicture(*frame);
        ZeroPicture(*frame);
        return Create(frame.release());
    }
    // av_image_fill_arrays believes any size, and planes past the end would be read and written
    if (buffer->size < size)
        Throw<std::invalid_argument>(TESSOR_HERE, "A frame of " + std::to_string(size) + " bytes in a buffer of " +
                                                      std::to_string(buffer->size));
    frame->buf[0] = owned.release();
    av_image_fill_arrays(frame->data, frame->linesize, buffer->data, GetFormat(*frame), info.width, info.height, 1);
    return Create(frame.release());
}

SP<DataVideoFF> DataVideoFF::Create(AVFrame* frame)
{
    Frame owned(frame);
    if (!frame)
        Throw<std::invalid_argument>(TESSOR_HERE, "frame is NULL.");
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(GetFormat(*frame));
    if (!description || (description->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "A frame that is not in main memory");
    if (frame->width <= 0 || frame->height <= 0 || !frame->buf[0] || !HasPlanes(*frame, *description))
        Throw<std::invalid_argument>(TESSOR_HERE, "A frame without a counted picture");
    return SP<DataVideoFF>(new DataVideoFF(owned.release()));
}

DataVideoFF::~DataVideoFF()
{
    AVFrame* owned = frame;
    av_frame_free(&owned);
}

size_t DataVideoFF::GetMemorySize() const
{
    return PixFmtDescription::Find(GetPixFmt()).GetAllPlanesFullSize(frame->width, frame->height);
}

int DataVideoFF::GetWidth() const
{
    return frame->width;
}

int DataVideoFF::GetHeight() const
{
    return frame->height;
}

PixFmt DataVideoFF::GetPixFmt() const
{
    return static_cast<PixFmt>(frame->format);
}

bool DataVideoFF::IsInterlaced() const
{
    return FFmpeg::IsInterlaced(*frame);
}

Details::PlaneTemplate<false> DataVideoFF::GetPlane(int index)
{
    return ViewPlane<false>(*frame, index);
}

Details::PlaneTemplate<true> DataVideoFF::GetPlane(int index) const
{
    return ViewPlane<true>(*frame, index);
}

SP<IDataVideo> DataVideoFF::MakeWritableCopy() const
{
    return Wrap(CopyDeep(*frame).release());
}

SP<IDataVideo> DataVideoFF::Clone(int mode) const
{
    return mode == 0 ? Wrap(Checked(av_frame_clone(frame), "Can't share a frame").release()) : MakeWritableCopy();
}

void DataVideoFF::Fill(const Color& color)
{
    // first, as it refuses formats: a frame that can't be painted keeps sharing its picture
    const Details::ColorPainter painter(color, GetPixFmt(), frame->color_range == AVCOL_RANGE_JPEG);
    if (av_frame_make_writable(frame) < 0)
        Throw<Exception>(TESSOR_HERE, "Can't copy a frame");
    for (int i = 0; i < GetPlanesCount(*this); ++i)
        painter.Paint(i, GetPlane(i));
}

/// An item of this one's times over that record.
SP<DataVideoFF> DataVideoFF::Wrap(AVFrame* copy) const
{
    SP<DataVideoFF> item(new DataVideoFF(copy));
    item->pts = pts;
    item->duration = duration;
    return item;
}

} // namespace Tessor::Proc
