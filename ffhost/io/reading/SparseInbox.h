#pragma once

#include "media/items/IDataPacket.h"

#include <set>
#include <tuple>
#include <vector>

namespace Tessor::Host
{

/// Packets of a sparse track as they were met, each kept once however often reading comes by.
class SparseInbox
{
public:
    void Add(const SP<Proc::IDataPacket>& packet);
    std::vector<SP<Proc::IDataPacket>> Take();

private:
    using Identity = std::tuple<int64_t, avTime, int>; // place in the file, time, size

    std::set<Identity> seen;                    // all that ever came
    std::vector<SP<Proc::IDataPacket>> packets; // not taken yet
};

} // namespace Tessor::Host
