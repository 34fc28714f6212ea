#pragma once

#include "media/IDataAudio.h"

struct AVBufferRef;

namespace Tessor::Proc
{

/// A block of samples in one contiguous buffer. The line size is a function of sample count and format alone; padding
/// is zero.
class TESSOR_API DataAudioFF final : public IDataAudio, public RefCountImpl
{
public:
    /// A block with room for `count` samples a channel, all zero, with the duration of that many samples. Throws
    /// std::invalid_argument for a negative count and formats without bits or channels.
    static SP<DataAudioFF> CreateBySampleCount(const Conf::SampleInfo& info, int count);
    ~DataAudioFF() override;

    avTime GetDuration() const override { return duration; }
    void SetDuration(avTime newDuration) override { duration = newDuration; }
    avTime GetPTS() const override { return pts; }
    void SetPTS(avTime newPts) override { pts = newPts; }
    /// Removes whole samples, repacks the block, and moves duration and PTS by the stated amount. Throws when the
    /// amount is negative or more than the block.
    void TrimStart(avTime amount) override;
    size_t GetMemorySize() const override;
    void TrimEnd(avTime amount) override;

    int GetSampleRate() const override { return info.GetSampleRate(); }
    int GetSampleCount() const override { return sampleCount; }
    Conf::SampleInfo GetSampleInfo() const override { return info; }
    SP<IDataAudio> Clone(int mode) const override;
    AudioRef GetAudioRef() override;
    void FillSilence() override;

    /// Removes the part from `start` on, of that length, both counted from the block's start.
    void RemovePart(avTime start, avTime length);

private:
    DataAudioFF(const Conf::SampleInfo& info, int count);
    void KeepSamples(int headCount, int tailStart);

    const Conf::SampleInfo info;
    int sampleCount;
    AVBufferRef* buffer; // the samples; shared between clones of mode 0 and copied before it is changed
    avTime pts = NoTime;
    avTime duration = NoTime;
};

/// Bytes of one plane of that many samples (of all channels when interleaved), padding included.
TESSOR_API size_t GetAudioLinesize(const Conf::SampleInfo& info, int sampleCount);

} // namespace Tessor::Proc
