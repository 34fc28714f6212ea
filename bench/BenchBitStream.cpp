#include "Proc/CodecParsers/AACCodecParser.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"
#include "media/items/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <benchmark/benchmark.h>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

namespace
{

SP<IDataPacket> Packet(const std::vector<uint8_t>& data, MediaType type)
{
    AVPacket* record = CreatePacket(data.size());
    std::copy(data.begin(), data.end(), record->data);
    return DataPacketFF::Create(record, type, 0, 0, 1);
}

/// Two units of that size together behind lengths of 4 bytes: a picture of two slices, without start codes in it.
std::vector<uint8_t> Mp4Picture(size_t size)
{
    std::vector<uint8_t> data;
    for (int slice = 0; slice < 2; ++slice)
    {
        const size_t unit = size / 2;
        data.insert(data.end(), {0, static_cast<uint8_t>(unit >> 16), static_cast<uint8_t>(unit >> 8),
                                 static_cast<uint8_t>(unit), 0x41});
        data.insert(data.end(), unit - 1, 0x9A);
    }
    return data;
}

/// In place: the bytes are the packet's alone. The lengths are put back for the next round.
void Mp4ToAnnexBInPlace(benchmark::State& state)
{
    const std::vector<uint8_t> picture = Mp4Picture(static_cast<size_t>(state.range(0)));
    const size_t second = picture.size() / 2;
    const SP<IDataPacket> packet = Packet(picture, MediaType::Video);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Mp4toAnnexB(packet, 4, SP<const IBlob>(), Conf::IFormatCodecVideo::CODEC_ID_H264));
        for (const size_t at : {size_t(0), second})
            std::copy_n(picture.data() + at, 4, packet->GetAVPacket()->data + at);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * picture.size()));
}

void AnnexBToMp4(benchmark::State& state)
{
    const SP<IDataPacket> packet =
        Mp4toAnnexB(Packet(Mp4Picture(static_cast<size_t>(state.range(0))), MediaType::Video), 4, SP<const IBlob>(),
                    Conf::IFormatCodecVideo::CODEC_ID_H264);
    for (auto _ : state)
        benchmark::DoNotOptimize(AnnexBtoMp4(packet, 4));
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * packet->GetSize());
}

void RemoveHeaders(benchmark::State& state)
{
    std::vector<uint8_t> frame{0xFF, 0xF1, 0x50, 0x80, 0x00, 0x1F, 0xFC};
    frame.resize(frame.size() + static_cast<size_t>(state.range(0)), 0x21);
    const SP<IDataPacket> packet = Packet(frame, MediaType::Audio);
    for (auto _ : state)
        benchmark::DoNotOptimize(RemoveADTSHeader(packet));
    state.SetItemsProcessed(state.iterations());
}

void InsertHeaders(benchmark::State& state)
{
    const SP<const IBlob> header =
        ASCExtradataToADTSFixedHeader(BlobFF::Create(std::array<uint8_t, 2>{0x12, 0x10}.data(), 2));
    const SP<IDataPacket> packet =
        Packet(std::vector<uint8_t>(static_cast<size_t>(state.range(0)), 0x21), MediaType::Audio);
    for (auto _ : state)
        benchmark::DoNotOptimize(InsertADTSHeader(packet, header, false));
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(Mp4ToAnnexBInPlace)->Arg(1000)->Arg(100000);
BENCHMARK(AnnexBToMp4)->Arg(1000)->Arg(100000);
BENCHMARK(RemoveHeaders)->Arg(400)->Arg(4000);
BENCHMARK(InsertHeaders)->Arg(400);

} // namespace
