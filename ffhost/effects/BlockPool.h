#pragma once

#include "media/items/DataAudioFF.h"

#include <memory>

struct AVBufferPool;

namespace Tessor::Host
{

/// Blocks of sound of about the same size whose memory is used again once nobody holds it. Blocks outlive the pool.
class BlockPool
{
public:
    /// A block whose samples are not set. Throws std::bad_alloc, and what DataAudioFF::CreateOver throws.
    SP<Proc::DataAudioFF> Get(const Conf::SampleInfo& info, int count);

private:
    struct Deleter
    {
        void operator()(AVBufferPool* pool) const;
    };

    std::unique_ptr<AVBufferPool, Deleter> pool; // null before the first block
    size_t size = 0;                             // bytes of each of its buffers
};

} // namespace Tessor::Host
