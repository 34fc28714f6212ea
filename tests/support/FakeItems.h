#pragma once

#include "Fnd/Exception.h"
#include "media/items/BlobFF.h"
#include "media/items/DataAudioFF.h"
#include "media/items/DataPacketFF.h"
#include "media/items/IDataVideo.h"
#include "tests/support/Script.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <vector>

namespace Tessor::Test
{

using Bytes = std::vector<uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Bytes Payload(const Proc::IDataPacket& packet)
{
    return Bytes(packet.GetData(), packet.GetData() + packet.GetSize());
}

inline Bytes Payload(const Proc::IBlob& blob)
{
    return Bytes(blob.Data(), blob.Data() + blob.Size());
}

inline SP<const Proc::IBlob> MakeBlob(const Bytes& bytes)
{
    return Proc::BlobFF::Create(bytes.data(), bytes.size());
}

/// Null where there are none.
inline SP<const Proc::IBlob> MakeExtradata(const Bytes& bytes)
{
    return bytes.empty() ? nullptr : MakeBlob(bytes);
}

/// A frame over another one that says of its memory what a test wants, and may refuse trims.
class FakeFrame final : public Proc::IDataVideo, public RefCountImpl
{
public:
    FakeFrame(const SP<Proc::IDataVideo>& inner, FrameAllocType memory, bool fixed)
        : memory(memory), inner(inner), fixed(fixed)
    {
    }

    avTime GetDuration() const override { return inner->GetDuration(); }
    void SetDuration(avTime duration) override { inner->SetDuration(duration); }
    avTime GetPTS() const override { return inner->GetPTS(); }
    void SetPTS(avTime pts) override { inner->SetPTS(pts); }
    void TrimStart(avTime amount) override { Trimmable().TrimStart(amount); }
    size_t GetMemorySize() const override { return inner->GetMemorySize(); }
    void TrimEnd(avTime amount) override { Trimmable().TrimEnd(amount); }
    FrameAllocType GetFrameAllocType() const override { return memory; }
    int GetWidth() const override { return inner->GetWidth(); }
    int GetHeight() const override { return inner->GetHeight(); }
    PixFmt GetPixFmt() const override { return inner->GetPixFmt(); }
    bool IsInterlaced() const override { return inner->IsInterlaced(); }
    Proc::Details::PlaneTemplate<false> GetPlane(int index) override { return inner->GetPlane(index); }
    Proc::Details::PlaneTemplate<true> GetPlane(int index) const override
    {
        return static_cast<const Proc::IDataVideo&>(*inner).GetPlane(index);
    }
    SP<Proc::IDataVideo> MakeWritableCopy() const override { return Clone(1); }
    SP<Proc::IDataVideo> Clone(int mode) const override
    {
        return SP<Proc::IDataVideo>(new FakeFrame(inner->Clone(mode), memory, fixed));
    }
    void Fill(const Color& color) override { inner->Fill(color); }

    FrameAllocType memory;

private:
    Proc::IDataVideo& Trimmable() const
    {
        if (fixed)
            Throw<Exception>(TESSOR_HERE, "A fake frame can't be trimmed");
        return *inner;
    }

    const SP<Proc::IDataVideo> inner;
    const bool fixed;
};

/// A gray frame of 16x8 whose pixels all have the item's value.
SP<Proc::IDataVideo> CreateFrame(const ScriptItem& item, FrameAllocType memory = FRAME_ALLOC_CPU);

/// A block of 16 bit samples that all have the item's value.
SP<Proc::DataAudioFF> CreateBlock(const ScriptItem& item,
                                  const Conf::SampleInfo& info = {Conf::SampleFormats::S16, 48000,
                                                                  Conf::ChannelLayout::Mono});

/// A packet whose payload is the item's value in four bytes, the highest first, or the bytes given.
SP<Proc::DataPacketFF> CreateFakePacket(const ScriptItem& item, MediaType type, const Bytes* payload = nullptr);

/// The script's item that an item of a stream would print as.
ScriptItem DescribeItem(Proc::IData& item);

} // namespace Tessor::Test
