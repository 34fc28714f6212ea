#include "Fnd/Exception.h"
#include "media/DataVideoFF.h"

extern "C"
{
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>
#include <random>

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

using Bytes = std::vector<uint8_t>;

constexpr PixFmt named_formats[] = {
    PixFmt::YUV420P, PixFmt::YUYV422, PixFmt::RGB24,    PixFmt::BGR24,    PixFmt::YUV422P,  PixFmt::YUV444P,
    PixFmt::GRAY8,   PixFmt::PAL8,    PixFmt::YUVJ420P, PixFmt::YUVJ422P, PixFmt::YUVJ444P, PixFmt::NV12,
    PixFmt::ARGB,    PixFmt::RGBA,    PixFmt::ABGR,     PixFmt::BGRA,     PixFmt::YUVA420P,
};

/// All rows top-down, without padding, read through the planes.
Bytes ReadTight(const IDataVideo& frame)
{
    Bytes all;
    for (int i = 0; i < GetPlanesCount(frame); ++i)
    {
        const Details::PlaneTemplate<true> plane = frame.GetPlane(i);
        for (size_t y = 0; y < plane.GetHeight(); ++y)
            all.insert(all.end(), plane.GetOffsetPtr(0, y), plane.GetOffsetPtr(plane.GetRowBytes(), y));
    }
    return all;
}

/// The same as FFmpeg reads it.
Bytes ReadTightByFF(const DataVideoFF& frame)
{
    const AVFrame& record = *frame.GetAVFrame();
    const auto format = static_cast<AVPixelFormat>(record.format);
    Bytes all(static_cast<size_t>(av_image_get_buffer_size(format, record.width, record.height, 1)));
    av_image_copy_to_buffer(all.data(), static_cast<int>(all.size()), record.data, record.linesize, format,
                            record.width, record.height, 1);
    return all;
}

AVBufferRef* MakeBuffer(const Bytes& bytes)
{
    AVBufferRef* const buffer = av_buffer_alloc(bytes.size());
    std::copy(bytes.begin(), bytes.end(), buffer->data);
    return buffer;
}

Bytes MakeNoise(size_t size)
{
    std::mt19937 random(6);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
    return bytes;
}

SP<DataVideoFF> MakeFrame(PixFmt format, int width, int height)
{
    const size_t size = PixFmtDescription::Find(format).GetAllPlanesFullSize(width, height);
    return DataVideoFF::Create(format, Conf::FrameInfo(width, height), MakeBuffer(MakeNoise(size)));
}

/// Mirrors the rows of every plane in place by letting them run bottom-up.
SP<DataVideoFF> MakeBottomUp(const DataVideoFF& frame)
{
    AVFrame* const record = av_frame_clone(frame.GetAVFrame());
    for (int i = 0; i < GetPlanesCount(frame); ++i)
    {
        record->data[i] += static_cast<ptrdiff_t>(frame.GetPlane(i).GetHeight() - 1) * record->linesize[i];
        record->linesize[i] = -record->linesize[i];
    }
    return DataVideoFF::Create(record);
}

} // namespace

TEST(DataVideo, PlanesLieTightlyInABuffer)
{
    for (const PixFmt format : named_formats)
        for (const auto& [width, height] : {std::pair(1, 1), {3, 5}, {16, 2}, {17, 9}})
        {
            const size_t size = PixFmtDescription::Find(format).GetAllPlanesFullSize(width, height);
            const SP<DataVideoFF> frame = MakeFrame(format, width, height);
            EXPECT_EQ(ReadTight(*frame), MakeNoise(size)) << static_cast<int>(format) << " " << width;
            EXPECT_EQ(ReadTight(*frame), ReadTightByFF(*frame)) << static_cast<int>(format) << " " << width;
            EXPECT_EQ(frame->GetMemorySize(), size);
            EXPECT_THROW(frame->GetPlane(GetPlanesCount(*frame)), std::out_of_range);
            EXPECT_THROW(frame->GetPlane(-1), std::out_of_range);
        }
}

TEST(DataVideo, NewPicturesAreZero)
{
    for (const PixFmt format : named_formats)
    {
        const SP<DataVideoFF> frame = DataVideoFF::Create(format, Conf::FrameInfo(7, 5, 4, 3), nullptr);
        EXPECT_EQ(ReadTight(*frame), Bytes(frame->GetMemorySize()));
        EXPECT_EQ(av_cmp_q(frame->GetAVFrame()->sample_aspect_ratio, AVRational{4, 3}), 0);
        EXPECT_EQ(frame->GetPTS(), NoTime);
        EXPECT_EQ(frame->GetDuration(), NoTime);
    }
}

TEST(DataVideo, CopiesAreDeepAndClonesShare)
{
    for (const PixFmt format : named_formats)
    {
        const SP<DataVideoFF> frame = MakeFrame(format, 7, 5);
        frame->SetPTS(10);
        frame->SetDuration(20);
        frame->GetAVFrame()->interlaced_frame = 1;
        const Bytes before = ReadTight(*frame);
        const SP<IDataVideo> copies[] = {frame->Clone(0), frame->Clone(1), frame->Clone(2), frame->MakeWritableCopy()};
        for (const SP<IDataVideo>& copy : copies)
        {
            const bool shares = copy == copies[0];
            EXPECT_EQ(copy->GetPlane(0).GetOffsetPtr(0, 0) == frame->GetPlane(0).GetOffsetPtr(0, 0), shares);
            EXPECT_EQ(ReadTight(*copy), before);
            EXPECT_TRUE(copy->IsInterlaced());
            EXPECT_EQ(copy->GetDuration(), 20);
            copy->SetPTS(11);
            EXPECT_EQ(frame->GetPTS(), 10);
            if (!shares)
                *copy->GetPlane(0).GetOffsetPtr(0, 0) ^= 1;
        }
        EXPECT_EQ(ReadTight(*frame), before);
    }
}

TEST(DataVideo, RowsMayRunBottomUp)
{
    for (const PixFmt format : {PixFmt::RGB24, PixFmt::YUV420P, PixFmt::NV12})
    {
        const SP<DataVideoFF> frame = MakeFrame(format, 7, 5);
        const SP<DataVideoFF> mirrored = MakeBottomUp(*frame);
        EXPECT_NE(ReadTight(*mirrored), ReadTight(*frame));
        EXPECT_EQ(ReadTight(*mirrored), ReadTightByFF(*mirrored));
        EXPECT_EQ(ReadTight(*mirrored->MakeWritableCopy()), ReadTight(*mirrored));
        for (int i = 0; i < GetPlanesCount(*frame); ++i)
        {
            const auto positive = std::as_const(*mirrored).GetPlane(i).MakePositive();
            const auto original = std::as_const(*frame).GetPlane(i);
            EXPECT_EQ(positive.GetStride(), original.GetStride());
            EXPECT_EQ(positive.GetOffsetPtr(1, 2), original.GetOffsetPtr(1, 2));
            EXPECT_EQ(original.MakePositive().GetOffsetPtr(0, 0), original.GetOffsetPtr(0, 0));
        }
    }
}

TEST(DataVideo, FillsEveryPixel)
{
    const Color red(255, 0, 0, 77);
    const Color grey(100, 100, 100, 77);
    const auto repeat = [](const Bytes& pattern, size_t count)
    {
        Bytes all;
        for (size_t i = 0; i < count; ++i)
            all.insert(all.end(), pattern.begin(), pattern.end());
        return all;
    };
    const auto planes = [&](std::initializer_list<Bytes> list)
    {
        Bytes all;
        for (const Bytes& plane : list)
            all.insert(all.end(), plane.begin(), plane.end());
        return all;
    };
    // 5 x 3 pixels; chroma of 3 columns, and of 2 rows where it is halved in height
    const struct
    {
        PixFmt format;
        Color color;
        Bytes expected;
    } rows[] = {
        {PixFmt::RGB24, red, repeat({255, 0, 0}, 15)},
        {PixFmt::BGR24, red, repeat({0, 0, 255}, 15)},
        {PixFmt::RGBA, red, repeat({255, 0, 0, 77}, 15)},
        {PixFmt::BGRA, red, repeat({0, 0, 255, 77}, 15)},
        {PixFmt::ARGB, red, repeat({77, 255, 0, 0}, 15)},
        {PixFmt::ABGR, red, repeat({77, 0, 0, 255}, 15)},
        {static_cast<PixFmt>(AV_PIX_FMT_BGR0), red, repeat({0, 0, 255, 255}, 15)},
        {static_cast<PixFmt>(AV_PIX_FMT_GBRP), red, planes({repeat({0}, 30), repeat({255}, 15)})},
        {PixFmt::GRAY8, red, repeat({76}, 15)},
        {static_cast<PixFmt>(AV_PIX_FMT_YA8), red, repeat({76, 77}, 15)},
        {PixFmt::YUV420P, red, planes({repeat({81}, 15), repeat({90}, 6), repeat({240}, 6)})},
        {PixFmt::YUV420P, grey, planes({repeat({102}, 15), repeat({128}, 12)})},
        {PixFmt::YUVA420P, red, planes({repeat({81}, 15), repeat({90}, 6), repeat({240}, 6), repeat({77}, 15)})},
        {PixFmt::YUV422P, red, planes({repeat({81}, 15), repeat({90}, 9), repeat({240}, 9)})},
        {PixFmt::YUV444P, red, planes({repeat({81}, 15), repeat({90}, 15), repeat({240}, 15)})},
        {PixFmt::YUVJ420P, red, planes({repeat({76}, 15), repeat({85}, 6), repeat({255}, 6)})},
        {PixFmt::YUVJ420P, grey, planes({repeat({100}, 15), repeat({128}, 12)})},
        {PixFmt::NV12, red, planes({repeat({81}, 15), repeat({90, 240}, 6)})},
        {PixFmt::YUYV422, red, repeat({81, 90, 81, 240}, 9)},
        {PixFmt::RGBA, Color::Black(Color::Opacity::Transparent), repeat({0, 0, 0, 0}, 15)},
        {PixFmt::YUV420P, Color::Black(Color::Opacity::Opaque), planes({repeat({16}, 15), repeat({128}, 12)})},
        {PixFmt::YUV420P, Color(255, 255, 255, 255), planes({repeat({235}, 15), repeat({128}, 12)})},
    };
    for (const auto& row : rows)
    {
        const SP<DataVideoFF> frame = MakeFrame(row.format, 5, 3);
        const SP<IDataVideo> clone = frame->Clone(0);
        const Bytes before = ReadTight(*clone);
        frame->Fill(row.color);
        EXPECT_EQ(ReadTight(*frame), row.expected) << static_cast<int>(row.format);
        EXPECT_EQ(ReadTight(*clone), before) << static_cast<int>(row.format);
    }
}

TEST(DataVideo, NamesTheFormatThatItCannotFill)
{
    for (const AVPixelFormat format : {AV_PIX_FMT_PAL8, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_RGB565LE,
                                       AV_PIX_FMT_MONOWHITE, AV_PIX_FMT_RGB48LE, AV_PIX_FMT_BAYER_BGGR8})
    {
        const SP<DataVideoFF> frame = MakeFrame(static_cast<PixFmt>(format), 8, 8);
        const Bytes before = ReadTight(*frame);
        try
        {
            frame->Fill(Color(1, 2, 3, 4));
            ADD_FAILURE() << av_get_pix_fmt_name(format);
        }
        catch (const Exception& e)
        {
            EXPECT_NE(Describe(e).find(av_get_pix_fmt_name(format)), std::string::npos);
        }
        EXPECT_EQ(ReadTight(*frame), before);
    }
}

TEST(DataVideo, IsCutInTime)
{
    const struct
    {
        avTime pts, duration, amount;
        bool works;
    } rows[] = {{100, 40, 0, true},   {100, 40, 10, true},     {100, 40, 39, true},      {100, 40, 40, false},
                {100, 40, -1, false}, {NoTime, 40, 10, false}, {100, NoTime, 10, false}, {100, 40, NoTime, false}};
    for (const auto& row : rows)
    {
        const SP<DataVideoFF> start = MakeFrame(PixFmt::RGB24, 2, 2);
        start->SetPTS(row.pts);
        start->SetDuration(row.duration);
        const SP<IDataVideo> end = start->Clone(0);
        if (!row.works)
        {
            EXPECT_THROW(start->TrimStart(row.amount), Exception);
            EXPECT_THROW(end->TrimEnd(row.amount), Exception);
            EXPECT_EQ(start->GetDuration(), row.duration);
            continue;
        }
        start->TrimStart(row.amount);
        EXPECT_EQ(start->GetPTS(), row.pts + row.amount);
        EXPECT_EQ(start->GetDuration(), row.duration - row.amount);
        end->TrimEnd(row.amount);
        EXPECT_EQ(end->GetPTS(), row.pts);
        EXPECT_EQ(end->GetDuration(), row.duration - row.amount);
    }
}

TEST(DataVideo, RefusesWhatIsNoPicture)
{
    const Conf::FrameInfo info(4, 4);
    EXPECT_THROW(DataVideoFF::Create(PixFmt::RGB24, info, av_buffer_alloc(47)), std::invalid_argument);
    EXPECT_THROW(DataVideoFF::Create(PixFmt::None, info, av_buffer_alloc(48)), std::invalid_argument);
    EXPECT_THROW(DataVideoFF::Create(static_cast<PixFmt>(AV_PIX_FMT_VAAPI), info, nullptr), std::invalid_argument);
    for (const auto& [width, height] : {std::pair(0, 4), {4, 0}, {-4, 4}, {1 << 30, 1 << 30}})
        EXPECT_THROW(DataVideoFF::Create(PixFmt::RGB24, Conf::FrameInfo(width, height), nullptr),
                     std::invalid_argument);
    EXPECT_THROW(DataVideoFF::Create(static_cast<AVFrame*>(nullptr)), std::invalid_argument);
    EXPECT_THROW(DataVideoFF::Create(av_frame_alloc()), std::invalid_argument);
}

TEST(PixFmt, DescribesFormats)
{
    const struct
    {
        PixFmt format;
        const char* name;
        int planes, depth;
        bool alpha;
        size_t size; // of 5 x 3 pixels
    } rows[] = {
        {PixFmt::YUV420P, "yuv420p", 3, 8, false, 27},
        {PixFmt::NV12, "nv12", 2, 8, false, 27},
        {PixFmt::RGBA, "rgba", 1, 8, true, 60},
        {PixFmt::YUVA420P, "yuva420p", 4, 8, true, 42},
        {PixFmt::PAL8, "pal8", 2, 8, true, 1039},
        {PixFmt::YUYV422, "yuyv422", 1, 8, false, 36},
        {static_cast<PixFmt>(AV_PIX_FMT_YUV420P10LE), "yuv420p10le", 3, 10, false, 54},
    };
    for (const auto& row : rows)
    {
        const PixFmtDescription description = PixFmtDescription::Find(row.format);
        EXPECT_EQ(description.GetName(), row.name);
        EXPECT_EQ(description.GetPlanesCount(), row.planes) << row.name;
        EXPECT_EQ(description.GetDepth(), row.depth) << row.name;
        EXPECT_EQ(description.HasAlpha(), row.alpha) << row.name;
        EXPECT_EQ(description.GetAllPlanesFullSize(5, 3), row.size) << row.name;
        EXPECT_EQ(description.GetAllPlanesFullSize(5, 0), 0u) << row.name;
        EXPECT_THROW(description.GetAllPlanesFullSize(-5, 3), std::invalid_argument);
    }
    EXPECT_THROW(PixFmtDescription::Find(PixFmt::None), std::invalid_argument);
    EXPECT_THROW(PixFmtDescription::Find(static_cast<PixFmt>(100000)), std::invalid_argument);
    EXPECT_FALSE(IsOGLFrame(nullptr));
    EXPECT_FALSE(IsOGLFrame(MakeFrame(PixFmt::RGBA, 1, 1)));
}
