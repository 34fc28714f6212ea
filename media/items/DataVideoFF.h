#pragma once

#include "media/formats/FrameInfo.h"
#include "media/items/IDataVideo.h"
#include "media/items/TimedData.h"

struct AVBufferRef;
struct AVFrame;

namespace Tessor::Proc
{

/// A frame over FFmpeg's record.
class TESSOR_API DataVideoFF final : public Details::TimedData<IDataVideo>
{
public:
    /// A frame over a buffer that holds all planes tightly, one after the other. Takes the reference over, also when
    /// it throws; null makes a new picture with aligned rows, all zero. Throws std::invalid_argument when the buffer is
    /// too small for the format and size, or there is no such format or size.
    static SP<DataVideoFF> Create(PixFmt format, const Conf::FrameInfo& info, AVBufferRef* buffer);
    /// Takes a decoded record over, also when it throws; the item's times are unset. Rows may run bottom-up. Throws
    /// std::invalid_argument for a record without a counted picture in main memory, all planes of it.
    static SP<DataVideoFF> Create(AVFrame* frame);
    ~DataVideoFF() override;

    size_t GetMemorySize() const override;

    FrameAllocType GetFrameAllocType() const override { return FRAME_ALLOC_CPU; }
    int GetWidth() const override;
    int GetHeight() const override;
    PixFmt GetPixFmt() const override;
    bool IsInterlaced() const override;
    /// Clones of mode 0 share what is written here: write to a MakeWritableCopy.
    Details::PlaneTemplate<false> GetPlane(int index) override;
    Details::PlaneTemplate<true> GetPlane(int index) const override;
    SP<IDataVideo> MakeWritableCopy() const override;
    SP<IDataVideo> Clone(int mode) const override;
    /// Every 8-bit format of RGB, grey or YUV components, packed or planar. YUV is BT.601, of limited range unless
    /// format or record say otherwise; grey is full range. A picture that clones share is replaced first.
    void Fill(const Color& color) override;

    /// The record, for hosts.
    AVFrame* GetAVFrame() const { return frame; }

private:
    explicit DataVideoFF(AVFrame* frame) : frame(frame) {}
    SP<DataVideoFF> Wrap(AVFrame* copy) const;

    AVFrame* const frame; // owned; its own time fields are not used here
};

} // namespace Tessor::Proc
