#pragma once

#include "Proc/StreamTemplates/Visitors.h"
#include "ffhost/PassThrough.h"

#include <functional>

namespace Tessor::Host
{

/// Shows every item that passes, on the thread that reads.
template <class Kind>
class Tap final : public PassThrough<Kind>
{
public:
    using Item = typename Kind::Item;
    using Viewer = std::function<void(const SP<Item>&)>;

    static SP<Kind> Create(const SP<Kind>& parent, Viewer viewer)
    {
        return SP<Kind>(new Tap(parent, std::move(viewer)));
    }
    ~Tap() override { this->StopThread(); }

private:
    Tap(const SP<Kind>& parent, Viewer viewer) : PassThrough<Kind>(parent), viewer(std::move(viewer)) {}

    void AcceptInternal(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "Tap", FRAME_ALLOC_ANY, nullptr);
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
