#pragma once

#include "media/DataPacketFF.h"
#include "media/IDataAudio.h"
#include "media/IDataSubtitle.h"
#include "media/IDataVideo.h"
#include "tests/support/Script.h"

#include <vector>

namespace Tessor::Test
{

/// Times and trimming, shared by the fake items: an item marked as fixed throws Exception from both trims, and so does
/// an amount that is negative or reaches the duration.
template <class Interface>
class FakeItem : public Interface, public RefCountImpl
{
public:
    avTime GetDuration() const override { return duration; }
    void SetDuration(avTime newDuration) override { duration = newDuration; }
    avTime GetPTS() const override { return pts; }
    void SetPTS(avTime newPts) override { pts = newPts; }
    void TrimStart(avTime amount) override
    {
        CheckTrim(amount);
        pts = AddTime(pts, amount);
        duration -= amount;
    }
    size_t GetMemorySize() const override { return 0; }
    void TrimEnd(avTime amount) override
    {
        CheckTrim(amount);
        duration -= amount;
    }

    int GetValue() const { return value; }
    bool IsFixed() const { return fixed; }

protected:
    explicit FakeItem(const ScriptItem& item)
        : pts(item.pts), duration(item.duration), value(item.value), fixed(item.fixed)
    {
    }
    FakeItem(const FakeItem& other)
        : IRefCountable(other), Proc::IData(other), Interface(other), RefCountImpl(other), pts(other.pts),
          duration(other.duration), value(other.value), fixed(other.fixed)
    {
    }
    void CheckTrim(avTime amount) const;

    avTime pts;
    avTime duration;
    int value;
    const bool fixed;
};

/// A gray frame whose pixels all have the item's value.
class FakeVideo final : public FakeItem<Proc::IDataVideo>
{
public:
    static SP<FakeVideo> Create(const ScriptItem& item, int width = 16, int height = 8);

    FrameAllocType GetFrameAllocType() const override { return FRAME_ALLOC_CPU; }
    int GetWidth() const override { return width; }
    int GetHeight() const override { return height; }
    PixFmt GetPixFmt() const override { return PixFmt::GRAY8; }
    bool IsInterlaced() const override { return false; }
    Proc::Details::PlaneTemplate<false> GetPlane(int index) override;
    Proc::Details::PlaneTemplate<true> GetPlane(int index) const override;
    SP<Proc::IDataVideo> MakeWritableCopy() const override { return Clone(1); }
    SP<Proc::IDataVideo> Clone(int mode) const override;
    void Fill(const Color& color) override;

private:
    FakeVideo(const ScriptItem& item, int width, int height);
    FakeVideo(const FakeVideo&) = default;

    const int width;
    const int height;
    std::vector<uint8_t> pixels;
};

/// A block of 16 bit samples, interleaved, that all have the item's value. Trims remove samples.
class FakeAudio final : public FakeItem<Proc::IDataAudio>
{
public:
    static SP<FakeAudio> Create(const ScriptItem& item, int rate = 48000,
                                Conf::ChannelLayout layout = Conf::ChannelLayout::Mono);

    void TrimStart(avTime amount) override;
    size_t GetMemorySize() const override { return samples.size() * sizeof(int16_t); }
    void TrimEnd(avTime amount) override;

    int GetSampleRate() const override { return info.GetSampleRate(); }
    int GetSampleCount() const override;
    Conf::SampleInfo GetSampleInfo() const override { return info; }
    SP<Proc::IDataAudio> Clone(int) const override { return SP<Proc::IDataAudio>(new FakeAudio(*this)); }
    Proc::AudioRef GetAudioRef() override;
    Proc::AudioRef GetConstAudioRef() const override { return const_cast<FakeAudio*>(this)->GetAudioRef(); }
    void FillSilence() override { samples.assign(samples.size(), 0); }

private:
    FakeAudio(const ScriptItem& item, const Conf::SampleInfo& info);
    FakeAudio(const FakeAudio&) = default;
    size_t CountValues(avTime time) const;

    const Conf::SampleInfo info;
    std::vector<int16_t> samples;
};

/// A subtitle with an empty record.
class FakeSubtitle final : public FakeItem<Proc::IDataSubtitle>
{
public:
    static SP<FakeSubtitle> Create(const ScriptItem& item) { return SP<FakeSubtitle>(new FakeSubtitle(item)); }

    SP<Proc::IDataSubtitle> Clone(int) const override { return SP<Proc::IDataSubtitle>(new FakeSubtitle(*this)); }
    const AVSubtitle& GetAVSubtitle() const override;

private:
    using FakeItem::FakeItem;
    FakeSubtitle(const FakeSubtitle&) = default;
};

/// A packet whose payload is the item's value in four bytes, the highest first, or the bytes given.
SP<Proc::DataPacketFF> CreateFakePacket(const ScriptItem& item, MediaType type,
                                        const std::vector<uint8_t>* payload = nullptr);

/// The script's item that an item of a stream would print as.
ScriptItem DescribeItem(Proc::IData& item);

} // namespace Tessor::Test
