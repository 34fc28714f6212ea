#pragma once

#include "media/FrameInfo.h"
#include "media/IDataVideo.h"

struct AVBufferRef;
struct AVFrame;

namespace Tessor::Proc
{

/// A frame over FFmpeg's record.
class TESSOR_API DataVideoFF final : public IDataVideo, public RefCountImpl
{
public:
    /// A frame over a buffer that holds all planes tightly, one behind the other. Takes the reference over; a null
    /// buffer makes a new one. Throws std::invalid_argument when the buffer is too small for the format and size.
    static SP<DataVideoFF> Create(PixFmt format, const Conf::FrameInfo& info, AVBufferRef* buffer);
    /// Takes a decoded record over; its times are set by the caller.
    static SP<DataVideoFF> Create(AVFrame* frame);
    ~DataVideoFF() override;

    avTime GetDuration() const override { return duration; }
    void SetDuration(avTime newDuration) override { duration = newDuration; }
    avTime GetPTS() const override { return pts; }
    void SetPTS(avTime newPts) override { pts = newPts; }
    /// A frame is cut in time. Throws when the amount is negative or reaches the duration, or a time is unknown.
    void TrimStart(avTime amount) override;
    size_t GetMemorySize() const override;
    void TrimEnd(avTime amount) override;

    FrameAllocType GetFrameAllocType() const override { return FRAME_ALLOC_CPU; }
    int GetWidth() const override;
    int GetHeight() const override;
    PixFmt GetPixFmt() const override;
    bool IsInterlaced() const override;
    Details::PlaneTemplate<false> GetPlane(int index) override;
    Details::PlaneTemplate<true> GetPlane(int index) const override;
    SP<IDataVideo> MakeWritableCopy() const override;
    SP<IDataVideo> Clone(int mode) const override;
    void Fill(const Color& color) override;

    /// The record, for hosts.
    AVFrame* GetAVFrame() const { return frame; }

private:
    explicit DataVideoFF(AVFrame* frame) : frame(frame) {}
    void CheckTrim(avTime amount) const;

    AVFrame* const frame;
    avTime pts = NoTime;
    avTime duration = NoTime;
};

} // namespace Tessor::Proc
