#pragma once

#include "Fnd/Time.h"

#include <atomic>
#include <functional>
#include <memory>

namespace Tessor::Host
{

/// What decoders deliver.
struct DecoderOptions
{
    /// Tells by its time whether a picture is wanted; null: all are. What decoders leave out is never seen after them.
    /// A cut that may fall between two pictures has to leave out those that begin before it: the filters that follow
    /// would keep them with a shorter duration.
    std::function<bool(avTime)> wanted;
    /// A picture that is shown again differs from the one before in the last bit of a sample, for consumers that fold
    /// repeats, which are few: encoders do not see it.
    bool distinct = true;
    /// Each takes pictures of its own; 0: as many as are of use.
    int threads = 0;
    /// Counts on for what is damaged; null: nobody asks.
    std::shared_ptr<std::atomic<long long>> damaged = nullptr;
};

} // namespace Tessor::Host
