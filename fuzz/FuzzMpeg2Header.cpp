// Sequence headers, picture types and packet headers of MPEG-1/2.
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "media/BlobFF.h"
#include "media/DataPacketFF.h"

#include <algorithm>

using namespace Tessor;
using namespace Tessor::Proc;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try
    {
        CodecParsers::MPEG2_Config config;
        CodecParsers::DecodeMPEG2Config(data, size, config);
    }
    catch (const Exception&)
    {
    }

    const SP<DataPacketFF> packet = DataPacketFF::Create(CreatePacket(size), MediaType::Video, NoTime, 0, 40);
    std::copy_n(data, size, packet->Data());
    const SP<BlobFF> extradata = BlobFF::Create(data, std::min<size_t>(size, 16));
    CodecParsers::MPEG1_2PTSRestorer restorer;
    restorer.Push(packet);
    restorer.Push(CodecParsers::MPEG2_AddPacketHeader(packet, extradata));
    restorer.Push(nullptr);
    while (restorer.Pull().first)
    {
    }
    return 0;
}
