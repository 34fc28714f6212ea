#include "Fnd/Exception.h"
#include "Proc/Settings/SettingsAVFilter.h"
#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsDeinterlace.h"
#include "Proc/Settings/SettingsEffectStabilizer.h"
#include "Proc/Settings/SettingsFade.h"
#include "Proc/Settings/SettingsResizer.h"
#include "ffhost/registry/Host.h"
#include "media/DataVideoFF.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <cmath>

namespace Tessor::Host::Tests
{

using namespace Proc;
using Modes = SettingsResizer::CustomModes;

namespace
{

template <class S>
SP<IOneInputEffectVideo> MakeEffect(const S& settings)
{
    const SP<IOneInputEffectVideo> effect = MakeHost().effects->CreateEffectVideo(S::CLASS_ID, "", nullptr);
    effect->Initialise(settings);
    return effect;
}

AVFrame& GetRecord(const SP<IDataVideo>& frame)
{
    return *dynamic_cast<DataVideoFF&>(*frame).GetAVFrame();
}

/// A picture of smooth waves that move with `number`, in all bytes of all planes.
SP<IDataVideo> MakePicture(PixFmt format, int width, int height, int number = 0)
{
    const SP<DataVideoFF> frame = DataVideoFF::Create(format, Conf::FrameInfo(width, height), nullptr);
    for (int i = 0; i < GetPlanesCount(*frame); ++i)
    {
        const auto plane = frame->GetPlane(i);
        for (size_t y = 0; y < plane.GetHeight(); ++y)
            for (size_t x = 0; x < plane.GetRowBytes(); ++x)
                *plane.GetOffsetPtr(x, y) =
                    static_cast<uint8_t>(128 + 60 * std::sin(0.11 * static_cast<double>(x) + 0.3 * number) *
                                                   std::cos(0.07 * static_cast<double>(y) + i));
    }
    frame->SetPTS(1000000 + number * 40000LL);
    frame->SetDuration(40000);
    return frame;
}

double FindPsnr(const IDataVideo& a, const IDataVideo& b)
{
    double sum = 0, count = 0;
    for (int i = 0; i < GetPlanesCount(a); ++i)
    {
        const auto first = a.GetPlane(i), second = b.GetPlane(i);
        for (size_t y = 0; y < first.GetHeight(); ++y)
            for (size_t x = 0; x < first.GetRowBytes(); ++x, ++count)
                sum += std::pow(*first.GetOffsetPtr(x, y) - *second.GetOffsetPtr(x, y), 2);
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * count / sum);
}

/// libswscale on one thread.
SP<IDataVideo> ScaleDirectly(const SP<IDataVideo>& frame, PixFmt format, int width, int height, int flags, int matrix)
{
    const AVFrame& from = GetRecord(frame);
    const SP<DataVideoFF> result = DataVideoFF::Create(format, Conf::FrameInfo(width, height), nullptr);
    AVFrame& to = *result->GetAVFrame();
    SwsContext* context =
        sws_getContext(from.width, from.height, static_cast<AVPixelFormat>(from.format), width, height,
                       static_cast<AVPixelFormat>(to.format), flags, nullptr, nullptr, nullptr);
    const bool full = from.color_range == AVCOL_RANGE_JPEG;
    sws_setColorspaceDetails(context, sws_getCoefficients(matrix), full, sws_getCoefficients(matrix), full, 0, 1 << 16,
                             1 << 16);
    sws_scale(context, from.data, from.linesize, 0, from.height, to.data, to.linesize);
    sws_freeContext(context);
    return result;
}

TEST(ConverterTest, PixelsAreThoseOfTheLibrary)
{
    constexpr int flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    for (const auto matrix : {AVCOL_SPC_UNSPECIFIED, AVCOL_SPC_BT709, AVCOL_SPC_BT2020_NCL})
        for (const auto range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG})
            for (const auto& [from, to] : std::vector<std::pair<PixFmt, PixFmt>>{
                     {PixFmt::YUV420P, PixFmt::RGBA}, {PixFmt::RGB24, PixFmt::YUV444P}, {PixFmt::NV12, PixFmt::BGRA}})
            {
                SP<IDataVideo> frame = MakePicture(from, 101, 77);
                GetRecord(frame).colorspace = matrix;
                GetRecord(frame).color_range = range;
                const SP<IDataVideo> source = frame;
                MakeEffect(SettingsColorspaceConverter({to}))->Process(frame);
                const SP<IDataVideo> expected =
                    ScaleDirectly(source, to, 101, 77, flags,
                                  matrix == AVCOL_SPC_UNSPECIFIED ? SWS_CS_DEFAULT : static_cast<int>(matrix));
                EXPECT_EQ(frame->GetPixFmt(), to);
                EXPECT_EQ(FindPsnr(*frame, *expected), 99) << matrix << range << static_cast<int>(from);
                EXPECT_EQ(GetRecord(frame).colorspace, matrix) << "for the way back";
                EXPECT_EQ(frame->GetPTS(), source->GetPTS());
            }
}

TEST(ConverterTest, TheFormatThatLosesLeast)
{
    const PixFmt deep = PixFmtDescription::FindByName("yuv420p10le"),
                 deeper = PixFmtDescription::FindByName("yuv422p10le");
    const struct
    {
        PixFmt source;
        std::vector<PixFmt> accepted;
        PixFmt chosen;
    } rows[] = {
        {PixFmt::YUV420P, {}, PixFmt::YUV420P},
        {PixFmt::RGBA, {PixFmt::YUV420P, PixFmt::RGBA}, PixFmt::RGBA},
        {PixFmt::YUVA420P, {PixFmt::YUV420P, PixFmt::YUV444P, PixFmt::RGBA}, PixFmt::RGBA},
        {PixFmt::RGBA, {PixFmt::RGB24, PixFmt::YUVA420P}, PixFmt::YUVA420P},
        {deeper, {PixFmt::YUV444P, deep, deeper}, deeper},
        {PixFmt::YUV422P, {PixFmt::YUV420P, PixFmt::YUV444P}, PixFmt::YUV444P},
        {PixFmt::PAL8, {PixFmt::RGB24, PixFmt::YUV420P}, PixFmt::RGB24},
    };
    for (const auto& row : rows)
    {
        SP<IDataVideo> frame = DataVideoFF::Create(row.source, Conf::FrameInfo(33, 17), nullptr);
        const SP<IOneInputEffectVideo> converter = MakeEffect(SettingsColorspaceConverter(row.accepted));
        converter->Process(frame);
        EXPECT_EQ(frame->GetPixFmt(), row.chosen) << static_cast<int>(row.source);
    }
}

TEST(ResizerTest, PixelsAreThoseOfTheLibrary)
{
    for (const PixFmt format :
         {PixFmt::YUV420P, PixFmt::RGB24, PixFmt::NV12, PixFmtDescription::FindByName("yuv422p10le")})
        for (const auto& [width, height] : std::vector<std::pair<int, int>>{{320, 200}, {77, 41}, {1, 1}})
        {
            SettingsResizer settings;
            settings.SetCustomMode(Modes::Exact, Conf::FrameInfo(width, height));
            const SP<IOneInputEffectVideo> resizer = MakeEffect(settings);
            for (const int size : {160, 99}) // the source changes its size
            {
                SP<IDataVideo> frame = MakePicture(format, size, 64);
                const SP<IDataVideo> expected =
                    ScaleDirectly(frame, format, width, height, SWS_BICUBIC, SWS_CS_DEFAULT);
                resizer->Process(frame);
                EXPECT_EQ(FindPsnr(*frame, *expected), 99) << static_cast<int>(format) << " " << width;
            }
        }
}

TEST(ResizerTest, ShapesCountAsTheyAreShown)
{
    // The source is 160x120 of pixels of `aspect`, white; black columns and rows of the output are counted.
    const struct
    {
        Modes mode;
        int aspect, width, height;
        int outWidth, outHeight, blackColumns, blackRows;
    } rows[] = {
        {Modes::Fit, 1, 160, 160, 160, 160, 0, 40},  {Modes::Fit, 2, 160, 160, 160, 160, 0, 100},
        {Modes::Fit, 1, 320, 120, 320, 120, 160, 0}, {Modes::Fill, 1, 160, 160, 160, 160, 0, 0},
        {Modes::Exact, 2, 160, 160, 160, 160, 0, 0}, {Modes::Fit, 1, 0, 240, 320, 240, 0, 0},
        {Modes::Fit, 2, 320, 0, 320, 120, 0, 0},     {Modes::Fit, 1, 0, 0, 160, 120, 0, 0},
        {Modes::Fit, 1, 161, 161, 161, 161, 0, 41},
    };
    for (const auto& row : rows)
    {
        SettingsResizer settings;
        settings.SetCustomMode(row.mode, Conf::FrameInfo(row.width, row.height));
        SP<IDataVideo> frame = DataVideoFF::Create(
            PixFmt::YUV420P, Conf::FrameInfo(160, 120, static_cast<unsigned>(row.aspect), 1), nullptr);
        frame->Fill(Color(255, 255, 255, 255));
        const SP<IOneInputEffectVideo> resizer = MakeEffect(settings);
        resizer->Process(frame);
        ASSERT_EQ(frame->GetWidth(), row.outWidth);
        ASSERT_EQ(frame->GetHeight(), row.outHeight);
        const auto plane = frame->GetPlane(0);
        int columns = 0, lines = 0;
        for (size_t x = 0; x < static_cast<size_t>(row.outWidth); ++x)
            columns += *plane.GetOffsetPtr(x, static_cast<size_t>(row.outHeight / 2)) < 40;
        for (size_t y = 0; y < static_cast<size_t>(row.outHeight); ++y)
            lines += *plane.GetOffsetPtr(static_cast<size_t>(row.outWidth / 2), y) < 40;
        EXPECT_EQ(columns, row.blackColumns) << row.width << "x" << row.height;
        EXPECT_EQ(lines, row.blackRows) << row.width << "x" << row.height;

        SP<Conf::IFormatCodecVideo> format = Conf::IFormatCodecVideo::Create();
        format->InitByPixelAspect(160, 120, static_cast<unsigned>(row.aspect), 1);
        format->SetPixelFormat(PixFmt::YUV420P);
        resizer->UpdateFormat(format);
        EXPECT_EQ(format->GetFrameInfo().width, row.outWidth);
        EXPECT_EQ(format->GetFrameInfo().height, row.outHeight);
    }
}

TEST(ResizerTest, ALogoHasNoFringe)
{
    for (const char* name : {"rgba", "argb", "ya8", "gbrap", "yuva420p", "yuva444p", "rgba64le"})
        for (const int value : {255, 128})
        {
            // Transparent black around an opaque square.
            SP<IDataVideo> logo = DataVideoFF::Create(PixFmt::RGBA, Conf::FrameInfo(64, 64), nullptr);
            for (size_t i = 0; i < 37 * 37; ++i)
            {
                uint8_t* pixel = logo->GetPlane(0).GetOffsetPtr(4 * (13 + i % 37), 13 + i / 37);
                std::fill_n(pixel, 3, static_cast<uint8_t>(value));
                pixel[3] = 255;
            }
            MakeEffect(SettingsColorspaceConverter({PixFmtDescription::FindByName(name)}))->Process(logo);
            SettingsResizer settings;
            settings.SetCustomMode(Modes::Exact, Conf::FrameInfo(23, 19));
            MakeEffect(settings)->Process(logo);
            ASSERT_EQ(logo->GetPixFmt(), PixFmtDescription::FindByName(name));
            MakeEffect(SettingsColorspaceConverter({PixFmt::RGBA}))->Process(logo);
            int seen = 0, partial = 0, worst = 0;
            for (size_t i = 0; i < 23 * 19; ++i)
            {
                const uint8_t* pixel = logo->GetPlane(0).GetOffsetPtr(4 * (i % 23), i / 23);
                seen += pixel[3] == 255;
                partial += pixel[3] > 8 && pixel[3] < 250;
                for (int c = 0; c < 3 && pixel[3] > 8; ++c)
                    worst = std::max(worst, std::abs(pixel[c] - value));
            }
            EXPECT_LE(worst, 4) << name << " " << value;
            EXPECT_GT(seen, 80) << name;
            EXPECT_GT(partial, 10) << name;
        }
}

/// Two fields of a picture that moves by half a step between them.
SP<IDataVideo> MakeInterlaced(int number, PixFmt format = PixFmt::YUV420P)
{
    const SP<IDataVideo> top = MakePicture(format, 96, 64, 2 * number),
                         bottom = MakePicture(format, 96, 64, 2 * number + 1);
    for (int i = 0; i < GetPlanesCount(*top); ++i)
        for (size_t y = 1; y < top->GetPlane(i).GetHeight(); y += 2)
            std::copy_n(bottom->GetPlane(i).GetOffsetPtr(0, y), top->GetPlane(i).GetRowBytes(),
                        top->GetPlane(i).GetOffsetPtr(0, y));
    GetRecord(top).interlaced_frame = 1;
    GetRecord(top).top_field_first = 1;
    return top;
}

TEST(DeinterlacerTest, AsGoodAsTheFilterThatWaits)
{
    for (const auto method : {SettingsDeinterlace::Method::Bwdif, SettingsDeinterlace::Method::Yadif})
    {
        SettingsDeinterlace settings;
        settings.method = method;
        const bool bwdif = method == SettingsDeinterlace::Method::Bwdif;
        const SP<IOneInputEffectVideo> ours = MakeEffect(settings);
        const SP<IOneInputEffectVideo> theirs = MakeEffect(SettingsAVFilter(bwdif ? "bwdif=0" : "yadif=0"));
        std::vector<SP<IDataVideo>> frames, waited;
        for (int i = 0; i <= 8; ++i)
        {
            SP<IDataVideo> frame = i < 8 ? MakeInterlaced(i) : nullptr, copy = i < 8 ? MakeInterlaced(i) : nullptr;
            theirs->Process(copy);
            if (copy)
                waited.push_back(copy);
            ours->Process(frame);
            ASSERT_EQ(frame != nullptr, i < 8) << "no frame is held back";
            if (frame)
                frames.push_back(frame);
        }
        ASSERT_EQ(waited.size(), frames.size());
        for (int i = 1; i < 7; ++i)
        {
            const size_t at = static_cast<size_t>(i);
            EXPECT_EQ(frames[at]->GetPTS(), MakeInterlaced(i)->GetPTS());
            EXPECT_EQ(frames[at]->GetDuration(), 40000);
            EXPECT_FALSE(frames[at]->IsInterlaced());
            const SP<IDataVideo> field = MakePicture(PixFmt::YUV420P, 96, 64, 2 * i);
            const double best = FindPsnr(*waited[at], *field);
            EXPECT_GE(FindPsnr(*frames[at], *field), best - 0.5) << i;
            EXPECT_GE(best, FindPsnr(*MakeInterlaced(i), *field) + 3) << i;
        }
    }
}

TEST(DeinterlacerTest, ProgressiveFramesAndFormatsStay)
{
    const SP<IOneInputEffectVideo> effect = MakeEffect(SettingsDeinterlace());
    for (const PixFmt format : {PixFmt::YUV420P, PixFmt::NV12, PixFmt::RGBA})
        for (int i = 0; i < 3; ++i)
        {
            SP<IDataVideo> frame = MakeInterlaced(i, format);
            effect->Process(frame);
            ASSERT_TRUE(frame);
            EXPECT_EQ(frame->GetPixFmt(), format);
        }
    SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, 95, 33);
    effect->Process(frame);
    EXPECT_EQ(FindPsnr(*frame, *MakePicture(PixFmt::YUV420P, 95, 33)), 99);
}

TEST(StabilizerTest, OneFrameForEach)
{
    const SP<IOneInputEffectVideo> effect = MakeEffect(SettingsEffectStabilizer());
    for (const auto& [format, size] : std::vector<std::pair<PixFmt, int>>{
             {PixFmt::YUV420P, 128}, {PixFmt::RGBA, 128}, {PixFmt::YUV420P, 37}, {PixFmt::YUV420P, 2}})
        for (int i = 0; i < 3; ++i)
        {
            SP<IDataVideo> frame = MakePicture(format, size, size, i);
            effect->Process(frame);
            ASSERT_TRUE(frame);
            EXPECT_EQ(frame->GetPixFmt(), format);
            EXPECT_EQ(frame->GetWidth(), size);
            EXPECT_EQ(frame->GetPTS(), 1000000 + i * 40000);
        }
}

TEST(AVFilterTest, WrongChainsAreNamed)
{
    const struct
    {
        const char* chain;
        const char* reason;
    } rows[] = {
        {"snow", "No such filter: 'snow'"},
        {"scale=w=64:colour=red", "Option 'colour' not found"},
        {"crop=500:500", "Invalid too big or non positive size"},
        {"split", "chain with one input and one output"},
        {"volume=2", "chain with one input and one output"},
        {"color=red", "chain with one input and one output"},
    };
    for (const auto& row : rows)
        try
        {
            SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, 64, 48);
            MakeEffect(SettingsAVFilter(row.chain))->Process(frame);
            ADD_FAILURE() << row.chain;
        }
        catch (const EffectException& e)
        {
            EXPECT_NE(Describe(e).find(row.reason), std::string::npos) << Describe(e);
        }
    EXPECT_THROW(MakeEffect(SettingsAVFilter("snow")), EffectException) << "before there is a frame";
}

TEST(AVFilterTest, SizesRatesAndHeldFrames)
{
    const SP<IOneInputEffectVideo> effect = MakeEffect(SettingsAVFilter("yadif=deint=all,transpose"));
    std::vector<std::string> out;
    const auto note = [&](const SP<IDataVideo>& frame)
    { out.push_back(std::to_string(frame->GetWidth()) + " " + std::to_string(frame->GetPTS())); };
    for (int i = 0; i < 4; ++i)
    {
        SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, 64, i < 2 ? 48 : 32, i);
        effect->Process(frame);
        if (frame)
            note(frame);
    }
    for (SP<IDataVideo> frame; effect->Process(frame), frame; frame.reset())
        note(frame);
    EXPECT_EQ(out, (std::vector<std::string>{"48 1000000", "48 1040000", "32 1080000", "32 1120000"}));

    const SP<IOneInputEffectVideo> rate = MakeEffect(SettingsAVFilter("fps=10"));
    avTime end = NoTime;
    for (int i = 0; i < 20; ++i)
    {
        SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, 64, 48, i);
        rate->Process(frame);
        if (!frame)
            continue;
        EXPECT_EQ(frame->GetDuration(), 100000);
        EXPECT_TRUE(end == NoTime || frame->GetPTS() == end);
        end = frame->GetPTS() + frame->GetDuration();
    }
    EXPECT_NE(end, NoTime);
    SP<Conf::IFormatCodecVideo> format = Conf::IFormatCodecVideo::Create();
    format->InitByPixelAspect(64, 48, 1, 1);
    format->SetPixelFormat(PixFmt::YUV420P);
    format->SetFrameRate(25, 1);
    effect->UpdateFormat(format);
    rate->UpdateFormat(format);
    EXPECT_EQ(format->GetFrameInfo(), Conf::FrameInfo(48, 64));
    EXPECT_EQ(format->GetProperties()[Conf::IFormatCodecVideo::TAG_FPS].GetRatio(), Core::Property::Ratio(10));
}

TEST(FadeVideoTest, DistancesFromBlackAreScaled)
{
    const SP<IOneInputEffectVideo> effect = MakeEffect(SettingsFade());
    effect->SetTimeToProgress({0, 2000000, &TimeToProgress::Linear}); // the picture stands at the middle
    const struct
    {
        const char* format;
        int range;
        int full[3], half[3]; // of the first components of a pixel, byte by byte
    } rows[] = {
        {"yuv444p", AVCOL_RANGE_MPEG, {216, 28, 228}, {116, 78, 178}},
        {"yuv444p", AVCOL_RANGE_JPEG, {200, 28, 228}, {100, 78, 178}},
        {"rgb24", AVCOL_RANGE_UNSPECIFIED, {200, 100, 0}, {100, 50, 0}},
        {"rgba", AVCOL_RANGE_UNSPECIFIED, {200, 100, 50}, {100, 50, 25}},
        {"gbrp", AVCOL_RANGE_UNSPECIFIED, {200, 100, 50}, {100, 50, 25}},
    };
    for (const auto& row : rows)
    {
        SP<IDataVideo> frame = MakePicture(PixFmtDescription::FindByName(row.format), 5, 3);
        frame->SetPTS(1000000);
        GetRecord(frame).color_range = static_cast<AVColorRange>(row.range);
        const bool planar = GetPlanesCount(*frame) > 1;
        const auto at = [&](const SP<IDataVideo>& f, int c) -> uint8_t& {
            return planar ? *f->GetPlane(c).GetOffsetPtr(2, 1)
                          : *f->GetPlane(0).GetOffsetPtr(static_cast<size_t>(c), 0);
        };
        for (int c = 0; c < 3; ++c)
            at(frame, c) = static_cast<uint8_t>(row.full[c]);
        const SP<IDataVideo> kept = frame;
        effect->Process(frame);
        for (int c = 0; c < 3; ++c)
        {
            EXPECT_EQ(at(frame, c), row.half[c]) << row.format << c;
            EXPECT_EQ(at(kept, c), row.full[c]) << "somebody else holds it";
        }
    }
    SP<IDataVideo> palette = DataVideoFF::Create(PixFmt::PAL8, Conf::FrameInfo(4, 4), nullptr);
    palette->SetPTS(0);
    EXPECT_THROW(effect->Process(palette), EffectException);
}

} // namespace

} // namespace Tessor::Host::Tests
