#pragma once

#include "Proc/StreamTemplates/Visitors.h"
#include "ffhost/PassThrough.h"

namespace Tessor::Host
{

/// A stream that can't tell how long it lasts, with its length as somebody else has found it out.
template <class Kind>
class KnownLength final : public PassThrough<Kind>
{
public:
    using Item = typename Kind::Item;

    static SP<Kind> Create(const SP<Kind>& parent, avTime length) { return SP<Kind>(new KnownLength(parent, length)); }
    ~KnownLength() override { this->StopThread(); }

private:
    KnownLength(const SP<Kind>& parent, avTime length) : PassThrough<Kind>(parent), length(length) {}

    avTime GetDuration() const override { return length; }

    void AcceptInternal(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "KnownLength", FRAME_ALLOC_ANY, nullptr);
    }
    SP<Item> ReadInternal() override { return this->parentStream->Read(); }

    const avTime length;
};

} // namespace Tessor::Host
