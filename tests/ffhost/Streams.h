#pragma once

#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamVideo.h"

#include <string>
#include <utility>
#include <vector>

namespace Tessor::Host::Tests
{

/// A stream of given items; a seek goes to the first.
template <class Interface>
class ListStream : public virtual Interface, public RefCountImpl
{
public:
    using Item = typename Interface::Item;
    using Format = typename Interface::Format;

    ListStream(SP<Format> format, std::vector<SP<Item>> items) : format(std::move(format)), items(std::move(items)) {}

    SP<Item> Read() override { return next < items.size() ? items[next++] : nullptr; }
    SP<Proc::IData> ReadStream() override { return Read(); }
    SP<Format> GetFormatCodec() const override { return format; }
    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return NoTime; }
    avTime GetPosition() override { return NoTime; }
    void RequestSeek(avTime, SP<Proc::IStream> requester) override { partner = requester; }
    void DoSeek() override
    {
        next = 0;
        partner.reset(); // who asks usually holds this stream
    }
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override { return Core::GetRootItem(); }
    void Terminate() override {}
    bool IsTerminated() const override { return false; }
    void ReleaseInternalData() override {}
    void Accept(Proc::IStreamVisitor&) override {}

    /// Who asked for the last seek.
    SP<Proc::IStream> TakePartner() { return std::exchange(partner, nullptr); }

private:
    const SP<Format> format;
    const std::vector<SP<Item>> items;
    size_t next = 0;
    SP<Proc::IStream> partner;
};

class PacketList : public ListStream<Proc::IStreamRaw>
{
public:
    PacketList(SP<Format> format, std::vector<SP<Item>> packets, MediaType type = MediaType::Video)
        : ListStream(std::move(format), std::move(packets)), type(type)
    {
    }
    MediaType GetMediaType() const override { return type; }

private:
    const MediaType type;
};

using Packets = std::vector<SP<Proc::IDataPacket>>;

inline std::string Payload(const Proc::IDataPacket& packet)
{
    return std::string(reinterpret_cast<const char*>(packet.GetData()), static_cast<size_t>(packet.GetSize()));
}

using PictureList = ListStream<Proc::IStreamVideo>;

/// The rest of what has a method Read().
template <class Source>
auto ReadItems(Source& source)
{
    std::vector<decltype(source.Read())> items;
    while (const auto item = source.Read())
        items.push_back(item);
    return items;
}

} // namespace Tessor::Host::Tests
