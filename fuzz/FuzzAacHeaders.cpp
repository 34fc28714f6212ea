// ADTS headers, AudioSpecificConfigs and the program config elements in both.
#include "Proc/CodecParsers/AACCodecParser.h"
#include "fuzz/FuzzTools.h"

using namespace Tessor;
using namespace Tessor::Fuzz;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

namespace
{

bool SameElement(const SP<const IBlob>& a, const SP<const IBlob>& b)
{
    return a && b ? SameBytes(*a, *b) : a == b;
}

void ReadADTS(const uint8_t* data, size_t size)
{
    ADTSHeader header;
    if (!Accepts([&] { header = DataToADTSHeader(data, size); }))
        return;
    SP<const IBlob> written;
    // The only thing that may miss is the element.
    Require(Accepts([&] { written = SetADTSFrameLength(ADTSHeaderToData(header), 7); }) ==
            (header.channelConfiguration > 0 || header.pce));
    if (!written || !header.protectionAbsent)
        return;
    const ADTSHeader again = DataToADTSHeader(written->Data(), written->Size());
    Require(SameElement(again.pce, header.pce));
    Require(GetADTSHeaderSize(written->Data(), written->Size()) == written->Size());
    // Through the other form and back.
    const SP<const IBlob> config = ADTSHeaderToASCExtradata(written);
    if (header.objectType < 4)
        Require(SameBytes(*SetADTSFrameLength(ASCExtradataToADTSFixedHeader(config), 7), *written));
}

void ReadASC(const uint8_t* data, size_t size)
{
    AudioSpecificConfig config;
    if (!Accepts([&] { config = DataToAudioSpecificConfig(data, size); }))
        return;
    SP<const IBlob> written;
    if (!Accepts([&] { written = AudioSpecificConfigToData(config); }))
        return;
    if (config.objectType < 4) // others have more to say than is kept
    {
        const AudioSpecificConfig again = DataToAudioSpecificConfig(written->Data(), written->Size());
        Require(again.sampleRate == config.sampleRate && SameElement(again.pce, config.pce));
        Require(SameBytes(*AudioSpecificConfigToData(again), *written));
    }
    Accepts([&] { ASCtoADTS(config); });
}

void EditPackets(const uint8_t* data, size_t size)
{
    const SP<IDataPacket> packet = Packet(data, size, true);
    SP<const IBlob> header;
    Accepts([&] { header = ExtractADTSHeader(*packet->GetAVPacket()); });
    SP<IDataPacket> raw;
    if (!Accepts([&] { raw = RemoveADTSHeader(packet); }) || !header)
        return;
    Require(header->Size() + static_cast<size_t>(raw->GetSize()) == size);
    SP<IDataPacket> frame;
    if (!Accepts([&] { frame = InsertADTSHeader(raw, header, false); }))
        return;
    Require(SameBytes(*RemoveADTSHeader(frame), *raw));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ReadADTS(data, size);
    ReadASC(data, size);
    if (size > 0)
        Accepts([&] { ExtractPCEFromASCExtradata(data, size, data[0]); });
    EditPackets(data, size);
    return 0;
}
