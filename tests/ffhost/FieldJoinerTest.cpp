#include "ffhost/streams/FieldJoiner.h"

#include "media/formats/IFormatCodecVideo.h"
#include "tests/CodecParsers/HeaderTools.h"
#include "tests/CodecParsers/ParameterSetWriter.h"
#include "tests/ffhost/Items.h"
#include "tests/ffhost/Streams.h"

namespace Tessor::Host::Tests
{

namespace Tools = Tessor::Test;
using Tools::UE;

namespace
{

constexpr avTime LENGTH = 20000;

/// Of a top field, a bottom field or a frame (T, B, F): a slice of P up to its order count.
SP<Proc::IDataPacket> MakePacket(char kind, size_t number)
{
    Tools::ParameterSetWriter slice;
    slice.Put({{8, 0x41}, {UE, 0}, {UE, 0}, {UE, 0}, {4, number / 2 % 16}});
    slice.Put({{kind == 'F' ? 1 : 2, kind == 'F' ? 0 : kind == 'T' ? 2 : 3}, {4, number % 16}, {32, number}});
    const Tools::Bytes bytes = Tools::WithStartCode(slice.Finish());
    const auto time = static_cast<avTime>(number) * LENGTH;
    return Tools::CreateFakePacket({.pts = time + LENGTH, .duration = LENGTH, .dts = time, .key = number == 0},
                                   MediaType::Video, &bytes);
}

} // namespace

TEST(FieldJoinerTest, TwoFieldsOfAPictureAreAPacket)
{
    const SP<Conf::IFormatCodec> format = Conf::IFormatCodecVideo::Create();
    const Tools::H264Fields header{.refs = 2, .orderBits = 4, .fields = Tools::H264Fields::Paff};
    format->SetExtradata(Tools::MakeBlob(header.AnnexB()));
    const TrackInfo track = MakeTrack(MediaType::Video, AV_CODEC_ID_H264);
    for (const std::string joined : {"TB TB TB", "F TB F BT", "B F F T", "T TB T"})
    {
        std::string kinds = joined;
        std::erase(kinds, ' ');
        Packets source;
        for (const char kind : kinds)
            source.push_back(MakePacket(kind, source.size()));
        const SP<Proc::IStreamRaw> stream =
            FieldJoiner::Create(SP<Proc::IStreamRaw>(new PacketList(format, source)), track, format);
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
