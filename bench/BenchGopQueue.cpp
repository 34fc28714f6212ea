#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/Cutting/StreamRawGOP.h"
#include "bench/LoopStream.h"
#include "media/items/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <benchmark/benchmark.h>

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

using Packets = Bench::LoopPackets;

/// Packets of one group after the other.
SP<Packets> MakeEndless(int groupSize)
{
    std::vector<SP<IDataPacket>> packets;
    for (int i = 0; i < groupSize; ++i)
    {
        AVPacket* const record = CreatePacket(16);
        record->flags = i == 0 ? AV_PKT_FLAG_KEY : 0;
        packets.push_back(DataPacketFF::Create(record, MediaType::Video, i * 40000, i * 40000, 40000));
    }
    return SP<Packets>(new Packets(nullptr, packets));
}

/// What the lossless path asks of the queue for each group.
void QueueGroups(benchmark::State& state)
{
    const SP<Packets> source = MakeEndless(static_cast<int>(state.range(0)));
    PacketQueueWithGOP queue(MediaType::None);
    for (auto _ : state)
    {
        queue.ReadGOP(source);
        benchmark::DoNotOptimize(queue.Position());
        benchmark::DoNotOptimize(queue.GetEnd());
        while (queue.Size() > 0)
            benchmark::DoNotOptimize(queue.Pop());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(QueueGroups)->Arg(1)->Arg(12)->Arg(250);

} // namespace
