#pragma once

#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/Visitors.h"

#include <functional>

namespace Tessor::Host
{

/// Shows every item that passes, on the thread that reads.
template <class Kind>
class Tap final : public Proc::StreamImpl<Kind, Kind>, public RefCountImpl
{
public:
    using Base = Proc::StreamImpl<Kind, Kind>;
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;
    using Viewer = std::function<void(const SP<Item>&)>;

    static SP<Kind> Create(const SP<Kind>& parent, Viewer viewer)
    {
        return SP<Kind>(new Tap(parent, std::move(viewer)));
    }
    ~Tap() override { Base::StopThread(); }

private:
    Tap(const SP<Kind>& parent, Viewer viewer) : Base(parent, false), viewer(std::move(viewer)) {}

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<Format> GetFormatCodec() const override { return Base::parentStream->GetFormatCodec(); }
    Core::Property GetStatistic() const override { return Base::parentStream->GetStatistic(); }

    void AcceptInternal(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "Tap", FRAME_ALLOC_ANY, nullptr);
    }
    SP<Item> ReadInternal() override
    {
        const SP<Item> item = Base::parentStream->Read();
        if (item)
            viewer(item);
        return item;
    }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        Base::parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { Base::parentStream->DoSeek(); }

    const Viewer viewer;
};

} // namespace Tessor::Host
