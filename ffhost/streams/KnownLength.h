#pragma once

#include "ffhost/streams/Relay.h"

namespace Tessor::Host
{

/// A stream that can't tell how long it lasts, with the length that somebody else has found out.
template <class Kind>
class KnownLength final : public Relay<Kind>
{
public:
    using Item = typename Kind::Item;

    static SP<Kind> Create(const SP<Kind>& parent, avTime length) { return SP<Kind>(new KnownLength(parent, length)); }

private:
    KnownLength(const SP<Kind>& parent, avTime length)
        : Relay<Kind>(parent, "KnownLength", FRAME_ALLOC_ANY), length(length)
    {
    }

    avTime GetDuration() const override { return length; }

    SP<Item> ReadInternal() override { return this->parentStream->Read(); }

    const avTime length;
};

} // namespace Tessor::Host
