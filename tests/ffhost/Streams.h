#pragma once

#include "tests/support/ScriptedStream.h"

#include <string>
#include <vector>

namespace Tessor::Host::Tests
{

/// A stream of given items; a seek goes to the first.
template <class Kind>
class ListStream : public Tessor::Test::ScriptedStream<Kind>
{
public:
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    ListStream(const SP<Format>& format, const std::vector<SP<Item>>& items)
        : Tessor::Test::ScriptedStream<Kind>(Tessor::Test::Regular(static_cast<int>(items.size())), format),
          items(items)
    {
        this->SetDuration(NoTime);
    }

private:
    SP<Item> MakeItem(const Tessor::Test::ScriptItem& item) const override
    {
        return items.at(static_cast<size_t>(item.value));
    }
    size_t FindSeekPlace(avTime) const override { return 0; }

    const std::vector<SP<Item>> items;
};

class PacketList final : public ListStream<Proc::IStreamRaw>
{
public:
    PacketList(const SP<Format>& format, const std::vector<SP<Item>>& packets, MediaType type = MediaType::Video)
        : ListStream(format, packets), type(type)
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
