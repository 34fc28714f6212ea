#pragma once

#include "tests/ffhost/Streams.h"

namespace Tessor::Bench
{

/// A list of items that exist beforehand, over and over without end, so that only what reads them is timed.
template <class List>
class LoopStream final : public List
{
public:
    using List::List;
    SP<typename List::Item> Read() override
    {
        if (SP<typename List::Item> item = List::Read())
            return item;
        List::DoSeek();
        return List::Read();
    }
};

} // namespace Tessor::Bench
