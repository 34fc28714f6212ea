#pragma once

#include "media/items/IDataAudio.h"
#include "media/items/TimedData.h"

#include <memory>

struct AVBufferRef;

namespace Tessor::Proc
{

/// A block of samples in one contiguous buffer. The line size is a function of sample count and format alone; padding
/// is zero. Clones of mode 0 share the buffer until one of them is trimmed, silenced or asked for a writable view.
class TESSOR_API DataAudioFF final : public Details::TimedData<IDataAudio>
{
public:
    /// A block with room for `count` samples a channel, all zero, with the duration of that many samples (NoTime
    /// without a rate). An unset format has no bytes. Throws std::invalid_argument for a negative count and
    /// layouts without channels.
    static SP<DataAudioFF> CreateBySampleCount(const Conf::SampleInfo& info, int count);
    /// The same over memory that becomes the block's, whose samples stay as they are. Throws std::invalid_argument also
    /// for null and when that is less than GetAudioSize.
    static SP<DataAudioFF> CreateOver(const Conf::SampleInfo& info, int count, AVBufferRef* buffer);
    ~DataAudioFF() override;

    /// Removes whole samples, repacks the block, and moves duration and PTS by the stated amount. Throws Exception when
    /// the amount is negative or more than the block (its duration, or its samples where that is unknown).
    void TrimStart(avTime amount) override;
    size_t GetMemorySize() const override;
    void TrimEnd(avTime amount) override;

    int GetSampleRate() const override { return info.GetSampleRate(); }
    int GetSampleCount() const override { return sampleCount; }
    Conf::SampleInfo GetSampleInfo() const override { return info; }
    SP<IDataAudio> Clone(int mode) const override;
    /// A writable view: a buffer that clones share is copied first. Valid until the next trim, clone or silence.
    AudioRef GetAudioRef() override;
    AudioRef GetConstAudioRef() const override;
    void FillSilence() override;

    /// Removes the part from `start` on, of that length, both counted from the block's start: what follows moves up,
    /// the PTS stays. Throws Exception when the part does not lie within the block.
    void RemovePart(avTime start, avTime length);

    /// Keeps the first `count` samples, at most all, with the duration of that many, in the memory that there is.
    void Shorten(int count);

private:
    struct Unref
    {
        void operator()(AVBufferRef* buffer) const;
    };
    using Buffer = std::unique_ptr<AVBufferRef, Unref>;

    DataAudioFF(const Conf::SampleInfo& info, int count, Buffer buffer);
    static void CheckSize(const Conf::SampleInfo& info, int count);
    static Buffer Allocate(const Conf::SampleInfo& info, int count);
    void ZeroPadding();
    int GetSampleIndex(avTime offset) const;
    void KeepSamples(int headCount, int tailStart);
    void MakeUnique();

    const Conf::SampleInfo info;
    int sampleCount; // per channel; shrinks with trims
    Buffer buffer;   // the samples; shared between clones of mode 0 and replaced before it is changed
};

/// Bytes of one plane of that many samples (of all channels when interleaved), rounded up to 32 so that every plane is
/// aligned for vector code.
TESSOR_API size_t GetAudioLinesize(const Conf::SampleInfo& info, int sampleCount);

/// Bytes of all planes.
TESSOR_API size_t GetAudioSize(const Conf::SampleInfo& info, int sampleCount);

} // namespace Tessor::Proc
