#include "Proc/Filters/Filters/Cutting/DataSkipperStreamImpl.h"
#include "media/items/DataVideoFF.h"
#include "tests/Filters/CutTestTools.h"
#include "tests/support/Decorators.h"

extern "C"
{
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using FrameSkipper = DataSkipperStreamImpl<IStreamVideo>;

SP<CutIntervals> Intervals(const Ranges& kept)
{
    return Cutter(kept)->GetIntervals();
}

std::string PrintTimes(const FrameSkipper& skipper)
{
    std::string text;
    for (const auto& [pts, duration] : skipper.GetProcessedPktsTimes())
        text += (text.empty() ? "" : " ") + PrintMs(pts) + ":" + PrintMs(duration);
    return text;
}

TEST(FrameSkipper, GivesEvenTimesAndFoldsRepeats)
{
    const std::tuple<Ranges, const char*, const char*, const char*> rows[] = {
        {{{0, 1000}}, "0=1 40=2 80=2 120=2 160=3", "0:?=1 40:?=2 80:?=3 E", "0:40 40:120 160:40"},
        {{{0, 1000}}, "0=1 40=2 80=1", "0:?=1 40:?=2 80:?=1 E", "0:40 40:40 80:40"}, // no repeat of the one before
        {{{0, 1000}}, "10=1 45=2 90=3", "10:?=1 50:?=2 90:?=3 E", "10:35 45:45 90:45"},
        {{{0, 80}, {160, 1000}}, "0=1 40=2 80=3 120=3 160=2 200=4", "0:?=1 40:?=2 80:?=4 E", "0:40 40:80 120:40"},
        {{{500, 1000}}, "0=1 40=2", "E", ""},
    };
    for (const auto& [kept, script, delivered, times] : rows)
    {
        SCOPED_TRACE(script);
        const auto source = ScriptedVideo::Create(script);
        source->GetFormatCodec()->SetFrameRate(25, 1);
        const SP<FrameSkipper> skipper(new FrameSkipper(source, Intervals(kept)));
        EXPECT_EQ(ReadAll(SP<IStreamVideo>(skipper), Show::Values), delivered);
        EXPECT_EQ(PrintTimes(*skipper), times);
    }
}

/// A frame of 5x3 cut out of a larger one: all that is seen is 7, all that is not is `hidden`. Its memory ends with the
/// last pixel.
SP<IDataVideo> Cropped(AVPixelFormat format, uint8_t hidden, bool bottomUp)
{
    AVFrame* const frame = av_frame_alloc();
    frame->format = format;
    frame->width = 5;
    frame->height = 3;
    for (int i = 0; i < av_pix_fmt_count_planes(format); ++i)
    {
        const int shift = i == 1 || i == 2 ? av_pix_fmt_desc_get(format)->log2_chroma_h : 0;
        const ptrdiff_t rows = -(-frame->height >> shift), width = av_image_get_linesize(format, frame->width, i);
        const ptrdiff_t stride = width + 6, start = stride + 4, size = start + (rows - 1) * stride + width;
        frame->buf[i] = av_buffer_create(
            new uint8_t[size], size, [](void*, uint8_t* data) { delete[] data; }, nullptr, 0);
        std::fill_n(frame->buf[i]->data, size, hidden);
        for (ptrdiff_t y = 0; y < rows; ++y)
            std::fill_n(frame->buf[i]->data + start + y * stride, width, uint8_t{7});
        frame->data[i] = frame->buf[i]->data + start + (bottomUp ? (rows - 1) * stride : 0);
        frame->linesize[i] = static_cast<int>(bottomUp ? -stride : stride);
    }
    return DataVideoFF::Create(frame);
}

TEST(FrameSkipper, LooksAtVisiblePixelsOnly)
{
    for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV411P, AV_PIX_FMT_NV12,
                                       AV_PIX_FMT_YUYV422, AV_PIX_FMT_RGB24, AV_PIX_FMT_GRAY8})
        for (const bool bottomUp : {false, true})
        {
            const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create("0 40 80"));
            source->GetFormatCodec()->SetFrameRate(25, 1);
            source->map = [&](const SP<IDataVideo>& item)
            {
                const SP<IDataVideo> frame = Cropped(format, static_cast<uint8_t>(item->GetPTS() / ms), bottomUp);
                frame->SetPTS(item->GetPTS());
                frame->SetDuration(item->GetDuration());
                return frame;
            };
            const SP<FrameSkipper> skipper(new FrameSkipper(source, Intervals({{0, 1000}})));
            EXPECT_EQ(ReadAll(SP<IStreamVideo>(skipper)), "0:? E") << av_get_pix_fmt_name(format);
            EXPECT_EQ(PrintTimes(*skipper), "0:120");
        }
}

TEST(FrameSkipper, RoundsDownWithNothingLostOnTheWay)
{
    const auto source = ScriptedVideo::Create(Regular(200));
    source->GetFormatCodec()->SetFrameRate(30000, 1001);
    const SP<IStreamVideo> skipper(new FrameSkipper(source, Intervals({{0, 100000}})));
    for (int64_t i = 0; i < 200; ++i)
        ASSERT_EQ(skipper->Read()->GetPTS(), 1001 * i * 1000000 / 30000);
}

TEST(FrameSkipper, WantsAFrameRate)
{
    const auto source = ScriptedVideo::Create("0 40 80");
    const SP<IStreamVideo> skipper(new FrameSkipper(source, Intervals({{0, 1000}})));
    source->GetFormatCodec()->SetFrameRate(0, 1);
    EXPECT_EQ(ReadAll(skipper), "!(Wrong fps!)");
}

TEST(PacketSkipper, CutsPacketsAndCountsThem)
{
    const auto script = ScriptedRaw::Create("0K 40d20 80 120 ?:40d130 ?:40");
    const auto source = Hooked<IStreamRaw>::Create(script);
    SP<IDataPacket> given;
    source->map = [&](const SP<IDataPacket>& packet) { return given = packet; };
    const SP<IStreamRaw> skipper(new DataSkipperStreamImpl<IStreamRaw>(source, Intervals({{40, 80}, {120, 1000}})));
    Seek(skipper, 0);
    EXPECT_EQ(script->TakeLog(), "RequestSeek(40) DoSeek");
    EXPECT_EQ(ReadSome(skipper, 1), "0d-20");
    EXPECT_EQ(given->GetPTS(), 40 * ms) << "the source's packet is another's";
    EXPECT_EQ(ReadAll(skipper), "40 ?d50 ? E");
    EXPECT_EQ((*(skipper->GetStatistic().end() - 1))["count"].GetInt64(), 4);
}

} // namespace
} // namespace Tessor::Test
