#pragma once

#include "ffhost/streams/Relay.h"

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace Tessor::Host
{

/// Parts decoded items at given times, so that none lies across one: a cut there takes items whole or leaves them. How
/// an item is parted depends on its kind.
template <class Kind>
class PartStream : public Relay<Kind>
{
public:
    using Item = typename Kind::Item;

protected:
    /// `bounds` in order.
    PartStream(const SP<Kind>& parent, std::string name, std::vector<avTime> bounds)
        : Relay<Kind>(parent, std::move(name), FRAME_ALLOC_ANY), bounds(std::move(bounds))
    {
    }

    void ReleaseInternalData() override
    {
        Relay<Kind>::ReleaseInternalData();
        parts.clear();
    }

    SP<Item> ReadInternal() override
    {
        while (parts.empty())
        {
            const SP<Item> item = this->parentStream->Read();
            if (!item)
                return nullptr;
            Part(item, parts);
        }
        const SP<Item> part = parts.front();
        parts.pop_front();
        return part;
    }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        parts.clear();
        Relay<Kind>::RequestSeekInternal(target, partner);
    }

    /// Adds the parts of an item in order.
    virtual void Part(const SP<Item>& item, std::deque<SP<Item>>& parts) = 0;

    const std::vector<avTime> bounds;

private:
    std::deque<SP<Item>> parts; // of the last item, not yet delivered
};

} // namespace Tessor::Host
