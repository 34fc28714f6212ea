#include "ffhost/io/writing/FieldJoiner.h"

#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"
#include "media/items/DataPacketFF.h"
#include "tests/CodecParsers/ParameterSetWriter.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <gtest/gtest.h>

#include <random>

namespace Tessor::Host::Tests
{

namespace Tools = Tessor::Test;
using Writer = Tools::ParameterSetWriter;

namespace
{

constexpr avTime LENGTH = 20000;

std::mt19937 unused;

void Append(Tools::Bytes& bytes, const Tools::Bytes& unit)
{
    bytes.insert(bytes.end(), {0, 0, 0, 1});
    bytes.insert(bytes.end(), unit.begin(), unit.end());
}

/// Start codes; frame_num and the picture order count have 4 bits.
SP<const Proc::IBlob> MakeHeader()
{
    Writer sps(unused), pps(unused);
    sps.Put(32, 0x674D001E);
    for (const uint32_t value : {0, 0, 0, 0, 2})
        sps.PutUE(value);
    sps.Put(1, 0);
    sps.PutUE(3);
    sps.PutUE(1);
    sps.Put(5, 4); // fields, and neither cropping nor a VUI
    pps.Put(8, 0x68);
    for (int i = 0; i < 2; ++i)
        pps.PutUE(0);
    pps.Put(2, 0);
    for (int i = 0; i < 3; ++i)
        pps.PutUE(0);
    pps.Put(3, 0);
    for (int i = 0; i < 3; ++i)
        pps.PutSE(0);
    pps.Put(3, 0);
    Tools::Bytes header;
    Append(header, Tools::Escape(sps.Finish()));
    Append(header, Tools::Escape(pps.Finish()));
    return Proc::BlobFF::Create(header.data(), header.size());
}

/// Of a top field, a bottom field or a frame (T, B, F): a slice of P up to its order count.
SP<Proc::IDataPacket> MakePacket(char kind, size_t number)
{
    Writer slice(unused);
    slice.Put(8, 0x41);
    for (const uint32_t value : {0, 0, 0})
        slice.PutUE(value);
    slice.Put(4, number / 2 % 16);
    slice.Put(kind == 'F' ? 1 : 2, kind == 'F' ? 0 : kind == 'T' ? 2 : 3);
    slice.Put(4, number % 16);
    slice.Put(32, static_cast<uint32_t>(number));
    Tools::Bytes bytes;
    Append(bytes, Tools::Escape(slice.Finish()));
    AVPacket* const record = Proc::CreatePacket(bytes.size());
    std::copy(bytes.begin(), bytes.end(), record->data);
    record->flags = number == 0 ? AV_PKT_FLAG_KEY : 0;
    const auto time = static_cast<avTime>(number) * LENGTH;
    return Proc::DataPacketFF::Create(record, MediaType::Video, time + LENGTH, time, LENGTH);
}

TrackInfo MakeTrack()
{
    const std::shared_ptr<AVCodecParameters> parameters(avcodec_parameters_alloc(),
                                                        [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = AV_CODEC_ID_H264;
    TrackInfo track;
    track.parameters = parameters;
    return track;
}

} // namespace

TEST(FieldJoinerTest, TwoFieldsOfAPictureAreAPacket)
{
    const SP<Conf::IFormatCodec> format = Conf::IFormatCodecVideo::Create();
    format->SetExtradata(MakeHeader());
    for (const std::string joined : {"TB TB TB", "F TB F BT", "B F F T", "T TB T"})
    {
        std::string kinds = joined;
        std::erase(kinds, ' ');
        Packets source;
        for (const char kind : kinds)
            source.push_back(MakePacket(kind, source.size()));
        const SP<Proc::IStreamRaw> stream =
            FieldJoiner::Create(SP<Proc::IStreamRaw>(new PacketList(format, source)), MakeTrack(), format);
        std::string found;
        for (size_t i = 0; const SP<Proc::IDataPacket>& packet : ReadItems(*stream))
        {
            EXPECT_EQ(packet->IsKeyFrame(), i == 0) << joined;
            EXPECT_EQ(packet->GetDTS(), source.at(i)->GetDTS()) << joined;
            EXPECT_EQ(packet->GetPTS(), source.at(i)->GetPTS()) << joined;
            std::string payload = Payload(*packet);
            avTime length = 0;
            found += found.empty() ? "" : " ";
            for (; !payload.empty() && i < source.size(); ++i, length += LENGTH)
            {
                EXPECT_EQ(payload.find(Payload(*source[i])), 0u) << joined;
                payload.erase(0, Payload(*source[i]).size());
                found += kinds[i];
            }
            EXPECT_EQ(packet->GetDuration(), length) << joined;
        }
        EXPECT_EQ(found, joined);
    }
}

} // namespace Tessor::Host::Tests
