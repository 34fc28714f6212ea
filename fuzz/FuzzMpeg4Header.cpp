// Headers of MPEG-4 Part 2, as extradata and in front of packets.
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "media/DataPacketFF.h"

#include <algorithm>

using namespace Tessor;
using namespace Tessor::Proc;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try
    {
        CodecParsers::MPEG4_Config config;
        CodecParsers::DecodeMPEG4Config(data, size, config);
    }
    catch (const Exception&)
    {
    }

    const SP<DataPacketFF> packet = DataPacketFF::Create(CreatePacket(size), MediaType::Video, 0, 0, 40);
    std::copy_n(data, size, packet->Data());
    const SP<const IBlob> headers = CodecParsers::MPEG4_GetPacketHeaders(packet);
    CodecParsers::MPEG4_AddPacketHeader(packet, headers);
    return 0;
}
