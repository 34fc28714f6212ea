#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "media/items/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <benchmark/benchmark.h>
#include <random>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

namespace
{

constexpr size_t SliceSize = 1 << 20;

/// A unit as an encoder writes it: random payload with emulation prevention.
std::vector<uint8_t> Slice(size_t size)
{
    std::mt19937 random(1);
    std::vector<uint8_t> slice{0x41};
    size_t zeros = 0;
    while (slice.size() < size)
    {
        auto byte = static_cast<uint8_t>(random());
        if (zeros >= 2 && byte <= 3)
            byte = 3;
        slice.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return slice;
}

std::vector<uint8_t> AnnexB(size_t sliceSize, int slices)
{
    const std::vector<uint8_t> slice = Slice(sliceSize);
    std::vector<uint8_t> data;
    for (int i = 0; i < slices; ++i)
    {
        data.insert(data.end(), NALU_START_CODE_4_BYTE.begin(), NALU_START_CODE_4_BYTE.end());
        data.insert(data.end(), slice.begin(), slice.end());
    }
    return data;
}

SP<IDataPacket> Packet(const std::vector<uint8_t>& data)
{
    AVPacket* record = CreatePacket(data.size());
    std::copy(data.begin(), data.end(), record->data);
    return DataPacketFF::Create(record, MediaType::Video, 0, 0, 1);
}

/// High profile, 1920x1080, VUI with timing and bitstream restriction, as a camera's stream has it.
const std::vector<uint8_t> Header{0x00, 0x00, 0x00, 0x01, 0x67, 0x64, 0x00, 0x28, 0xac, 0xd9, 0x40,
                                  0x78, 0x02, 0x27, 0xe5, 0xc0, 0x44, 0x00, 0x00, 0x03, 0x00, 0x04,
                                  0x00, 0x00, 0x03, 0x00, 0xc8, 0x3c, 0x60, 0xc6, 0x58};

void ScanAnnexB(benchmark::State& state)
{
    const std::vector<uint8_t> data = AnnexB(static_cast<size_t>(state.range(0)), 4);
    std::vector<Nalu> units;
    for (auto _ : state)
    {
        units.clear();
        FindAnnexBNalus(data.data(), data.size(), units);
        benchmark::DoNotOptimize(units.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}

/// Data that defeats the search for rare bytes.
void ScanOnes(benchmark::State& state)
{
    const std::vector<uint8_t> data(SliceSize, 1);
    std::vector<Nalu> units;
    for (auto _ : state)
        FindAnnexBNalus(data.data(), data.size(), units);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}

void ConvertInPlace(benchmark::State& state)
{
    // A start code is the length 1: converted data of units of one byte can be converted again.
    std::vector<uint8_t> data;
    for (int64_t i = 0; i < state.range(0); ++i)
        data.insert(data.end(), {0, 0, 0, 1, 0x41});
    for (auto _ : state)
        InplaceConvertMP4ToAnnexB(data.data(), data.size(), 4);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void ConvertToMp4(benchmark::State& state)
{
    const SP<IDataPacket> packet = Packet(AnnexB(SliceSize, 1));
    for (auto _ : state)
        benchmark::DoNotOptimize(AnnexBtoMp4(packet, 4));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * packet->GetSize());
}

void RemoveEmulation(benchmark::State& state)
{
    const std::vector<uint8_t> slice = Slice(SliceSize);
    for (auto _ : state)
        benchmark::DoNotOptimize(RemoveEmulationByte(slice.data(), slice.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * slice.size()));
}

void SliceType(benchmark::State& state)
{
    const SP<const IDataPacket> packet = Packet(AnnexB(SliceSize, 1));
    for (auto _ : state)
        benchmark::DoNotOptimize(GetH264Type(packet, false, 0));
}

void ParseSPS(benchmark::State& state)
{
    SPS_decoded sps;
    for (auto _ : state)
        DecodeSPS(Header.data(), Header.size(), sps);
}

BENCHMARK(ScanAnnexB)->Arg(1000)->Arg(SliceSize);
BENCHMARK(ScanOnes);
BENCHMARK(ConvertInPlace)->Arg(1)->Arg(100);
BENCHMARK(ConvertToMp4);
BENCHMARK(RemoveEmulation);
BENCHMARK(SliceType);
BENCHMARK(ParseSPS);

} // namespace
