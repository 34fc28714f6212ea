#include "ffhost/effects/BlockPool.h"

extern "C"
{
#include <libavutil/buffer.h>
}

#include <new>

namespace Tessor::Host
{

using Proc::DataAudioFF;

void BlockPool::Deleter::operator()(AVBufferPool* pool) const
{
    av_buffer_pool_uninit(&pool);
}

SP<DataAudioFF> BlockPool::Get(const Conf::SampleInfo& info, int count)
{
    const size_t wanted = Proc::GetAudioSize(info, count);
    if (!pool || wanted > size || wanted < size / 2)
    {
        // Lengths of blocks vary by a few samples, and a pool has buffers of one size. Blocks in use keep the old
        // pool's memory alive.
        size = wanted + wanted / 8;
        pool.reset(av_buffer_pool_init(size, nullptr));
    }
    AVBufferRef* const buffer = pool ? av_buffer_pool_get(pool.get()) : nullptr;
    if (!buffer)
        throw std::bad_alloc();
    return DataAudioFF::CreateOver(info, count, buffer);
}

} // namespace Tessor::Host
