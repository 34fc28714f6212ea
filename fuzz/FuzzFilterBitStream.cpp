// Any header and any packets through every conversion of the filter.
#include "Proc/Filters/Filters/Cutting/FilterBitStream.h"
#include "fuzz/FuzzTools.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"
#include "tests/ffhost/Streams.h"

#include <glog/logging.h>

using namespace Tessor;
using namespace Tessor::Fuzz;
using namespace Tessor::Proc;

// The first byte chooses codec and form, the second is the size of the header. Packets follow, each behind a byte with
// its size and key flag.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using Audio = Conf::IFormatCodecAudio;
    using Video = Conf::IFormatCodecVideo;
    static const std::string codecs[] = {Video::CODEC_ID_H264, Video::CODEC_ID_H265, Audio::CODEC_ID_AAC,
                                         Audio::CODEC_ID_AAC_LATM};
    FLAGS_minloglevel = google::GLOG_FATAL;
    if (size < 2)
        return 0;
    const unsigned codec = data[0] & 3;
    const auto form = static_cast<SettingsFilterBitStream::StreamFormat>((data[0] >> 2 & 7) % 5);
    size_t at = 2 + std::min<size_t>(data[1], size - 2);
    const SP<Conf::IFormatCodec> format =
        codec >= 2 ? SP<Conf::IFormatCodec>(Audio::Create()) : SP<Conf::IFormatCodec>(Video::Create());
    format->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, codecs[codec]);
    format->SetExtradata(Blob(data + 2, at - 2));
    std::vector<SP<IDataPacket>> packets;
    while (at < size)
    {
        const size_t begin = at + 1;
        at = std::min<size_t>(begin + (data[at] & 127), size);
        packets.push_back(Packet(data + begin, at - begin, (data[begin - 1] & 128) != 0));
    }
    const SP<IStreamRaw> source(
        new Host::Tests::PacketList(format, packets, codec >= 2 ? MediaType::Audio : MediaType::Video));

    SP<IStreamRawEx> filter;
    if (!Accepts([&] { filter = FilterBitStream::Create(source, SettingsFilterBitStream(form)); }))
        return 0;
    Require(filter->GetFormatCodec() != nullptr);
    for (const SP<IDataPacket>& given : packets)
    {
        const bool key = given->IsKeyFrame();
        SP<IDataPacket> packet;
        Accepts([&] { packet = filter->Read(); });
        Require(!packet || packet->IsKeyFrame() || !key);
    }
    Require(!filter->Read());
    return 0;
}
