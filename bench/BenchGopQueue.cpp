#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/StreamRawGOP.h"
#include "media/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <benchmark/benchmark.h>

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

/// Packets of one group after the other, without end; they exist beforehand, so that only the queue is timed.
class EndlessSource final : public IStreamRaw, public RefCountImpl
{
public:
    explicit EndlessSource(int groupSize)
    {
        for (int i = 0; i < groupSize; ++i)
        {
            AVPacket* const record = CreatePacket(16);
            record->flags = i == 0 ? AV_PKT_FLAG_KEY : 0;
            packets.push_back(DataPacketFF::Create(record, MediaType::Video, i * 40000, i * 40000, 40000));
        }
    }

    SP<IDataPacket> Read() override { return packets[next++ % packets.size()]; }

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return NoTime; }
    avTime GetPosition() override { return NoTime; }
    SP<IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime, SP<IStream>) override {}
    void DoSeek() override {}
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override { return Core::Property(); }
    void Terminate() override {}
    bool IsTerminated() const override { return false; }
    void ReleaseInternalData() override {}
    void Accept(IStreamVisitor&) override {}
    MediaType GetMediaType() const override { return MediaType::Video; }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return nullptr; }

private:
    std::vector<SP<IDataPacket>> packets;
    size_t next = 0;
};

/// What the lossless path asks of the queue for each group.
void QueueGroups(benchmark::State& state)
{
    const SP<EndlessSource> source(new EndlessSource(static_cast<int>(state.range(0))));
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
