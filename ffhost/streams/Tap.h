#pragma once

#include "ffhost/streams/Relay.h"

#include <functional>

namespace Tessor::Host
{

/// Shows every item that passes, on the thread that reads.
template <class Kind>
class Tap final : public Relay<Kind>
{
public:
    using Item = typename Kind::Item;
    using Viewer = std::function<void(const SP<Item>&)>;

    static SP<Kind> Create(const SP<Kind>& parent, Viewer viewer)
    {
        return SP<Kind>(new Tap(parent, std::move(viewer)));
    }

private:
    Tap(const SP<Kind>& parent, Viewer viewer) : Relay<Kind>(parent, "Tap", FRAME_ALLOC_ANY), viewer(std::move(viewer))
    {
    }

    SP<Item> ReadInternal() override
    {
        const SP<Item> item = this->parentStream->Read();
        if (item)
            viewer(item);
        return item;
    }

    const Viewer viewer;
};

} // namespace Tessor::Host
