#pragma once

#include "media/formats/MediaType.h"
#include "media/items/IPacketFacts.h"

namespace Tessor::Proc
{

/// A new AVPacket with a payload of that size, or null. The caller owns it.
TESSOR_API AVPacket* CreatePacket(size_t size);

/// A packet over FFmpeg's record, which is also its own blob. Clones share the payload, which is not to be written
/// then.
class TESSOR_API DataPacketFF final : public IDataPacket, public IPacketFacts, public IBlob, public RefCountImpl
{
public:
    /// Takes the record over, also when it throws; the times are in microseconds. A payload that the record does not
    /// own is copied. Throws std::invalid_argument for null and for a size without a payload.
    static SP<DataPacketFF> Create(AVPacket* packet, MediaType type, long long pts, long long dts, long long duration);
    ~DataPacketFF() override;

    avTime GetDuration() const override;
    void SetDuration(avTime duration) override;
    avTime GetPTS() const override;
    void SetPTS(avTime pts) override;
    /// Packets are kept or dropped whole: both trims throw Exception.
    void TrimStart(avTime amount) override;
    size_t GetMemorySize() const override;
    void TrimEnd(avTime amount) override;

    avTime GetDTS() const override;
    void SetDTS(avTime dts) override;
    avTime GetPosition() const override;
    bool IsKeyFrame() const override;
    int GetSize() const override;
    SP<IDataPacket> Clone() const override;
    SP<const IBlob> GetBlob() const override;
    AVPacket* GetAVPacket() const override { return packet; }
    void SetPosition(avTime position) override;
    const uint8_t* GetData() const override;

    const uint8_t* Data() const override;
    uint8_t* Data() override;
    size_t Size() const override;

    const PacketFacts& GetFacts() const override { return facts; }
    void SetFacts(PacketFacts newFacts) override { facts = std::move(newFacts); }

    MediaType GetMediaType() const { return type; }
    void SetLeadIn(PacketFacts::LeadIn packets) { facts.leadIn = std::move(packets); }
    void SetEntered(bool entered) { facts.entered = entered; }
    /// Takes the key flag off a key packet, and notes it.
    void HideKey();

private:
    DataPacketFF(AVPacket* packet, MediaType type);

    AVPacket* const packet;
    const MediaType type;
    avTime position = NoTime; // known when the order in the stream is not that of PTS or DTS
    PacketFacts facts;        // set by the source as it lays out its packets
};

} // namespace Tessor::Proc
