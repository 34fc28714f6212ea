#pragma once

#include "Fnd/Time.h"

#include <deque>
#include <iterator>
#include <utility>

namespace Tessor::Proc::CodecParsers
{

/// Packets in decoding order, held back where a reference without a PTS waits for its own: it is shown when the next
/// reference is decoded, after the B pictures between them.
///
///     decoding order   I(no PTS)  B  B  P(DTS d)
///     becomes          I(PTS d)   B  B  P
///
/// An Item has `pts`, `dts` and `duration`. Not thread-safe.
template <class Item>
class ReferenceQueue
{
public:
    /// Whether something is held back.
    bool IsWaiting() const { return !pending.empty(); }
    /// `between`: the item is a B picture with a PTS, which does not end the wait.
    void Push(Item item, bool between)
    {
        if (IsWaiting() && !between)
            Release(item.dts);
        (item.pts != NoTime && !IsWaiting() ? finished : pending).push_back(std::move(item));
    }
    /// No more items come: what waits is shown when the newest ends.
    void Finish()
    {
        if (IsWaiting())
            Release(AddTime(pending.back().dts, pending.back().duration));
    }
    bool Pull(Item& item)
    {
        if (finished.empty())
            return false;
        item = std::move(finished.front());
        finished.pop_front();
        return true;
    }
    void Reset()
    {
        pending.clear();
        finished.clear();
    }

private:
    void Release(avTime pts)
    {
        pending.front().pts = pts;
        std::move(pending.begin(), pending.end(), std::back_inserter(finished));
        pending.clear();
    }

    std::deque<Item> pending;  // a reference without PTS and the B pictures after it, until its PTS is known
    std::deque<Item> finished; // what Pull hands out, oldest first
};

} // namespace Tessor::Proc::CodecParsers
