// Headers of MPEG-1/2, MPEG-4 Part 2, Theora and WMV2, as extradata and in front of packets. A start code or a length
// tells which: each decoder gets every input.
#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "fuzz/FuzzTools.h"

using namespace Tessor;
using namespace Tessor::Fuzz;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Decoded<MPEG2_Config>(DecodeMPEG2Config, data, size);
    Decoded<MPEG4_Config>(DecodeMPEG4Config, data, size);
    Decoded<WMV2_Config>(DecodeWMV2Config, data, size);
    const auto theora = Decoded<Theora_Config>(DecodeTheoraConfig, data, size);
    Require(theora.EqualTo(theora) && theora.setup.size() <= size);

    const SP<IDataPacket> packet = Packet(data, size, false);
    MPEG4_AddPacketHeader(packet, MPEG4_GetPacketHeaders(packet));
    MPEG1_2PTSRestorer restorer;
    packet->SetPTS(NoTime);
    restorer.Push(packet);
    restorer.Push(MPEG2_AddPacketHeader(packet, Blob(data, std::min<size_t>(size, 16))));
    restorer.Push(nullptr);
    Require(restorer.Pull().first && restorer.Pull().first && !restorer.Pull().first);
    return 0;
}
