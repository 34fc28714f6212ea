#pragma once

#include "Fnd/RefCount.h"

namespace Tessor::Host
{

/// An effect that makes more items than it is given, or fewer, or moves them in time. Streams that have a place for
/// that use these operations instead of Process.
template <class Item>
class IFlow
{
public:
    virtual ~IFlow() = default;

    /// Takes the next item of the source; null is the end. What it makes of the items before has been taken.
    virtual void Give(const SP<Item>& item) = 0;
    /// The next item, null where it wants to be given another one first, and behind the end.
    virtual SP<Item> Take() = 0;
    /// Whether items come out at the times at which they went in. False also where nobody can tell.
    virtual bool KeepsTimes() const = 0;
};

} // namespace Tessor::Host
