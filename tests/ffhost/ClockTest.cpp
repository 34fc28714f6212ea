#include "ffhost/io/ClockSurvey.h"
#include "ffhost/io/Demuxer.h"
#include "tests/support/ScratchFolder.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <fstream>
#include <gtest/gtest.h>

namespace Tessor::Host::Tests
{

namespace
{

constexpr avTime SECOND = 1000000;
constexpr int RATE = 25;

/// Pictures under one clock.
struct Stretch
{
    int start, length; // seconds
    size_t bytes;      // of a picture
};

/// An MPEG-2 picture that stands alone, of 320x240 and 25 pictures a second, filled up with a slice of no meaning.
std::string MakePicture(size_t bytes)
{
    std::string picture("\0\0\1\xb3\x14\0\xf0\x13\xff\xff\xe0\x18" // sequence
                        "\0\0\1\xb5\x14\x82\0\1\0\0"               // its extension
                        "\0\0\1\0\0\x0f\xff\xf8"                   // picture, intra
                        "\0\0\1\xb5\x8f\xff\xf3\x41\x80"           // its extension
                        "\0\0\1\1",
                        12 + 10 + 8 + 9 + 4);
    picture.resize(bytes, '\x55');
    return picture;
}

/// Appends the stretch to the file as a transport stream of its own.
void Append(const std::string& path, const Stretch& stretch)
{
    AVFormatContext* context = nullptr;
    avformat_alloc_output_context2(&context, nullptr, "mpegts", nullptr);
    AVStream* stream = avformat_new_stream(context, nullptr);
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = AV_CODEC_ID_MPEG2VIDEO;
    stream->time_base = {1, 90000};
    ASSERT_EQ(avio_open_dyn_buf(&context->pb), 0);
    ASSERT_GE(avformat_write_header(context, nullptr), 0);
    std::string picture = MakePicture(stretch.bytes);
    for (int i = 0; i < stretch.length * RATE; ++i)
    {
        AVPacket* packet = av_packet_alloc();
        packet->data = reinterpret_cast<uint8_t*>(picture.data());
        packet->size = static_cast<int>(picture.size());
        packet->pts = packet->dts = (stretch.start * RATE + i) * (90000 / RATE);
        packet->duration = 90000 / RATE;
        packet->flags = AV_PKT_FLAG_KEY;
        ASSERT_GE(av_write_frame(context, packet), 0);
        av_packet_free(&packet);
    }
    av_write_trailer(context);
    uint8_t* bytes = nullptr;
    const int size = avio_close_dyn_buf(context->pb, &bytes);
    std::ofstream(path, std::ios::binary | std::ios::app).write(reinterpret_cast<char*>(bytes), size);
    av_free(bytes);
    avformat_free_context(context);
}

} // namespace

TEST(Clock, JumpsAreFoundByAFewSamples)
{
    struct Row
    {
        std::vector<Stretch> stretches;
        bool jumps;
    };
    const Row rows[] = {
        {{{1, 60, 4000}}, false},
        {{{1, 60, 9000}, {61, 60, 1000}, {121, 20, 7000}}, false}, // one clock, but the rate changes
        {{{1, 80, 4000}, {1, 80, 4000}}, true},
        {{{1, 12, 4000}, {1, 200, 4000}}, true}, // a short one in front is less than a first step
        {{{5000, 80, 4000}, {1, 40, 6000}, {700, 30, 4000}}, true},
        {{{1, 8, 1000}, {300, 4, 1000}}, true}, // a short file
    };
    for (size_t i = 0; i < std::size(rows); ++i)
    {
        SCOPED_TRACE(i);
        const Tessor::Test::ScratchFolder folder;
        const std::string path = folder / "film.ts";
        avTime length = 0;
        for (const Stretch& stretch : rows[i].stretches)
        {
            ASSERT_NO_FATAL_FAILURE(Append(path, stretch));
            length += stretch.length * SECOND;
        }
        SourceFile file(path);
        file.Select(0);
        EXPECT_EQ(HasClockJump(file, 0), rows[i].jumps);

        const SP<Demuxer> demuxer = Demuxer::Open(path);
        EXPECT_NEAR(static_cast<double>(demuxer->GetInfo().duration), static_cast<double>(length), 1000);
        const SP<Proc::IStreamRaw> stream = demuxer->GetStream(0);
        for (const avTime target : {length - SECOND, SECOND / 2, length / 2, length - 3 * SECOND})
        {
            stream->RequestSeek(target + 100, nullptr);
            stream->DoSeek();
            const SP<Proc::IDataPacket> packet = stream->Read();
            ASSERT_TRUE(packet);
            EXPECT_NEAR(static_cast<double>(packet->GetPTS()), static_cast<double>(target), SECOND / RATE);
        }
    }
}

} // namespace Tessor::Host::Tests
