#include "Fnd/Exception.h"
#include "media/FFmpegCompat.h"
#include "media/items/DataVideoFF.h"

extern "C"
{
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
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
            const SP<DataVideoFF> fresh = DataVideoFF::Create(format, Conf::FrameInfo(width, height, 4, 3), nullptr);
            EXPECT_EQ(ReadTight(*fresh), Bytes(size));
            EXPECT_EQ(av_cmp_q(fresh->GetAVFrame()->sample_aspect_ratio, AVRational{4, 3}), 0);
            for (const int none : {-1, GetPlanesCount(*frame)})
                EXPECT_THROW(frame->GetPlane(none), std::out_of_range);
        }
}

TEST(DataVideo, CopiesAreDeepAndClonesShare)
{
    for (const PixFmt format : named_formats)
    {
        const SP<DataVideoFF> frame = MakeFrame(format, 7, 5);
        frame->SetPTS(10);
        frame->SetDuration(20);
        FFmpeg::SetInterlaced(*frame->GetAVFrame(), true);
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
        const auto positive = std::as_const(*mirrored).GetPlane(0).MakePositive();
        EXPECT_EQ(positive.GetStride(), frame->GetPlane(0).GetStride());
        EXPECT_EQ(positive.GetOffsetPtr(1, 2), frame->GetPlane(0).GetOffsetPtr(1, 2));
    }
}

TEST(DataVideo, FillsEveryPixel)
{
    const Color red(255, 0, 0, 77);
    // the bytes that each plane repeats
    const std::tuple<PixFmt, Color, std::vector<Bytes>> rows[] = {
        {PixFmt::RGBA, red, {{255, 0, 0, 77}}},
        {static_cast<PixFmt>(AV_PIX_FMT_BGR0), red, {{0, 0, 255, 255}}},
        {static_cast<PixFmt>(AV_PIX_FMT_GBRP), red, {{0}, {0}, {255}}},
        {static_cast<PixFmt>(AV_PIX_FMT_YA8), red, {{76, 77}}},
        {PixFmt::YUVA420P, red, {{81}, {90}, {240}, {77}}},
        {PixFmt::YUVJ420P, red, {{76}, {85}, {255}}},
        {PixFmt::YUVJ420P, Color(100, 100, 100, 77), {{100}, {128}, {128}}},
        {PixFmt::NV12, red, {{81}, {90, 240}}},
        {PixFmt::YUYV422, red, {{81, 90, 81, 240}}},
        {PixFmt::RGBA, Color::Black(Color::Opacity::Transparent), {{0, 0, 0, 0}}},
        {PixFmt::YUV420P, Color::Black(Color::Opacity::Opaque), {{16}, {128}, {128}}},
        {PixFmt::YUV420P, Color(255, 255, 255, 255), {{235}, {128}, {128}}},
    };
    for (const auto& [format, color, planes] : rows)
    {
        SCOPED_TRACE(static_cast<int>(format));
        const SP<DataVideoFF> frame = MakeFrame(format, 5, 3);
        const SP<IDataVideo> clone = frame->Clone(0);
        const Bytes before = ReadTight(*clone);
        frame->Fill(color);
        Bytes expected;
        for (size_t i = 0; i < planes.size(); ++i)
        {
            const auto plane = std::as_const(*frame).GetPlane(static_cast<int>(i));
            for (size_t byte = 0; byte < plane.GetHeight() * plane.GetRowBytes(); ++byte)
                expected.push_back(planes[i][byte % planes[i].size()]);
        }
        EXPECT_EQ(ReadTight(*frame), expected);
        EXPECT_EQ(ReadTight(*clone), before);
    }
}

TEST(DataVideo, RefusesWhatIsNoPicture)
{
    const auto create = [](PixFmt format, int width, int height, AVBufferRef* buffer = nullptr)
    { DataVideoFF::Create(format, Conf::FrameInfo(width, height), buffer); };
    EXPECT_THROW(create(PixFmt::RGB24, 4, 4, av_buffer_alloc(47)), std::invalid_argument);
    EXPECT_THROW(create(PixFmt::None, 4, 4, av_buffer_alloc(48)), std::invalid_argument);
    EXPECT_THROW(create(static_cast<PixFmt>(AV_PIX_FMT_VAAPI), 4, 4), std::invalid_argument);
    for (const auto& [width, height] : {std::pair(0, 4), {4, 0}, {-4, 4}, {1 << 30, 1 << 30}})
        EXPECT_THROW(create(PixFmt::RGB24, width, height), std::invalid_argument);
    AVFrame* const headless = av_frame_clone(MakeFrame(PixFmt::YUV420P, 4, 4)->GetAVFrame());
    headless->data[2] = nullptr;
    for (AVFrame* const record : {static_cast<AVFrame*>(nullptr), av_frame_alloc(), headless})
        EXPECT_THROW(DataVideoFF::Create(record), std::invalid_argument);
    EXPECT_THROW(PixFmtDescription::Find(static_cast<PixFmt>(100000)), std::invalid_argument);
    for (const AVPixelFormat format :
         {AV_PIX_FMT_PAL8, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_RGB565LE, AV_PIX_FMT_MONOWHITE, AV_PIX_FMT_BAYER_BGGR8})
        EXPECT_THROW(MakeFrame(static_cast<PixFmt>(format), 8, 8)->Fill(Color(1, 2, 3, 4)), Exception) << format;
    const SP<DataVideoFF> frame = MakeFrame(PixFmt::RGB24, 2, 2);
    frame->SetPTS(100);
    for (const avTime duration : {avTime{40}, NoTime})
        for (const avTime amount : {avTime{40}, avTime{-1}, NoTime})
        {
            frame->SetDuration(duration);
            EXPECT_THROW(frame->TrimStart(amount), Exception);
            EXPECT_THROW(frame->TrimEnd(amount), Exception);
        }
}
