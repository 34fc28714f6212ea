#include "Fnd/Exception.h"
#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsDeinterlace.h"
#include "Proc/Settings/SettingsFade.h"
#include "Proc/Settings/SettingsMultiEffect.h"
#include "Proc/Settings/SettingsResizer.h"
#include "ffhost/FormatTags.h"
#include "ffhost/registry/Host.h"
#include "host/IAudioFormatter.h"
#include "media/FFmpegCompat.h"
#include "media/items/DataVideoFF.h"
#include "tests/ffhost/Items.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

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

SP<IOneInputEffectVideo> MakeResizer(Modes mode, int width, int height)
{
    SettingsResizer settings;
    settings.SetCustomMode(mode, Conf::FrameInfo(width, height));
    return MakeEffect(settings);
}

void Convert(SP<IDataVideo>& frame, const std::vector<PixFmt>& formats)
{
    MakeEffect(SettingsColorspaceConverter(formats))->Process(frame);
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

TEST(ConverterTest, PixelsAreThoseOfTheLibraryInTheFormatThatLosesLeast)
{
    constexpr int flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    // the accepted format that is named first loses least
    const std::tuple<AVColorSpace, AVColorRange, const char*, std::vector<const char*>> rows[] = {
        {AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG, "yuv420p", {"rgba"}},
        {AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, "yuv420p", {"rgba"}},
        {AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_JPEG, "rgb24", {"yuv444p", "yuv420p"}},
        {AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG, "yuva420p", {"rgba", "yuv420p", "yuv444p"}},
        {AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, "yuv422p10le", {"yuv422p10le", "yuv444p", "yuv420p10le"}},
        {AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, "yuv420p", {}},
    };
    for (const auto& [space, range, from, names] : rows)
    {
        SP<IDataVideo> frame = MakePicture(PixFmtDescription::FindByName(from), 101, 77);
        GetRecord(frame).colorspace = space;
        GetRecord(frame).color_range = range;
        std::vector<PixFmt> accepted;
        for (const char* name : names)
            accepted.insert(accepted.begin(), PixFmtDescription::FindByName(name));
        const PixFmt wanted = accepted.empty() ? frame->GetPixFmt() : accepted.back();
        const int matrix = space == AVCOL_SPC_UNSPECIFIED ? SWS_CS_DEFAULT : static_cast<int>(space);
        const SP<IDataVideo> expected = ScaleDirectly(frame, wanted, 101, 77, flags, matrix);
        Convert(frame, accepted);
        ASSERT_EQ(frame->GetPixFmt(), wanted) << from;
        EXPECT_EQ(FindPsnr(*frame, *expected), 99) << from << space << range;
        EXPECT_EQ(GetRecord(frame).colorspace, space) << "for the way back";
        EXPECT_EQ(frame->GetPTS(), 1000000);
    }
}

TEST(ResizerTest, PixelsAreThoseOfTheLibrary)
{
    for (const char* format : {"yuv420p", "nv12", "yuv422p10le"})
        for (const auto& [width, height] : std::vector<std::pair<int, int>>{{320, 200}, {77, 41}, {1, 1}})
        {
            const SP<IOneInputEffectVideo> resizer = MakeResizer(Modes::Exact, width, height);
            for (const int size : {160, 99}) // the source changes its size
            {
                SP<IDataVideo> frame = MakePicture(PixFmtDescription::FindByName(format), size, 64);
                const SP<IDataVideo> expected =
                    ScaleDirectly(frame, frame->GetPixFmt(), width, height, SWS_BICUBIC, SWS_CS_DEFAULT);
                resizer->Process(frame);
                EXPECT_EQ(FindPsnr(*frame, *expected), 99) << format << width;
            }
        }
}

TEST(ResizerTest, ShapesCountAsTheyAreShown)
{
    // The source is 160x120 of pixels of `aspect`, white; black columns and rows of the output are counted.
    const std::tuple<Modes, int, int, int, int, int, int, int> rows[] = {
        {Modes::Fit, 1, 160, 160, 160, 160, 0, 40},  {Modes::Fit, 2, 160, 160, 160, 160, 0, 100},
        {Modes::Fit, 1, 320, 120, 320, 120, 160, 0}, {Modes::Fill, 1, 160, 160, 160, 160, 0, 0},
        {Modes::Exact, 2, 160, 160, 160, 160, 0, 0}, {Modes::Fit, 1, 0, 240, 320, 240, 0, 0},
        {Modes::Fit, 2, 320, 0, 320, 120, 0, 0},     {Modes::Fit, 1, 161, 161, 161, 161, 0, 41},
    };
    for (const auto& [mode, aspect, width, height, outWidth, outHeight, blackColumns, blackRows] : rows)
    {
        SP<IDataVideo> frame =
            DataVideoFF::Create(PixFmt::YUV420P, Conf::FrameInfo(160, 120, static_cast<unsigned>(aspect), 1), nullptr);
        frame->Fill(Color(255, 255, 255, 255));
        const SP<IOneInputEffectVideo> resizer = MakeResizer(mode, width, height);
        SP<Conf::IFormatCodecVideo> format = MakeVideoFormat(PixFmt::YUV420P, 160, 120, aspect);
        resizer->UpdateFormat(format);
        ASSERT_EQ(format->GetFrameInfo().width, outWidth);
        ASSERT_EQ(format->GetFrameInfo().height, outHeight);
        resizer->Process(frame);
        ASSERT_EQ(frame->GetWidth(), outWidth);
        ASSERT_EQ(frame->GetHeight(), outHeight);
        const auto plane = frame->GetPlane(0);
        int columns = 0, lines = 0;
        for (size_t x = 0; x < static_cast<size_t>(outWidth); ++x)
            columns += *plane.GetOffsetPtr(x, static_cast<size_t>(outHeight / 2)) < 40;
        for (size_t y = 0; y < static_cast<size_t>(outHeight); ++y)
            lines += *plane.GetOffsetPtr(static_cast<size_t>(outWidth / 2), y) < 40;
        EXPECT_EQ(columns, blackColumns) << width << "x" << height;
        EXPECT_EQ(lines, blackRows) << width << "x" << height;
    }
}

TEST(ResizerTest, PicturesOfAnyFormatAreScaledAndFadedInOneThatKeepsDepthAndAlpha)
{
    for (const char* name : {"pal8", "monow", "rgb565le", "yuyv422", "p010le", "yuv420p10be", "rgba64be", "nv21"})
    {
        const PixFmt source = PixFmtDescription::FindByName(name);
        for (const auto& effect : {MakeResizer(Modes::Fit, 32, 40), MakeEffect(SettingsFade())})
        {
            SP<IDataVideo> frame = MakePicture(source, 64, 48);
            SP<Conf::IFormatCodecVideo> format = MakeVideoFormat(source, 64, 48);
            effect->SetTimeToProgress({0, 2000000, &TimeToProgress::Linear});
            effect->UpdateFormat(format);
            ASSERT_NO_THROW(effect->Process(frame)) << name;
            EXPECT_EQ(frame->GetPixFmt(), format->GetPixelFormat()) << name;
            const AVPixFmtDescriptor& before = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source));
            const AVPixFmtDescriptor& after = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->GetPixFmt()));
            EXPECT_EQ(after.comp[0].depth, std::max(before.comp[0].depth, 8)) << name;
            EXPECT_EQ(after.flags & AV_PIX_FMT_FLAG_ALPHA, before.flags & AV_PIX_FMT_FLAG_ALPHA) << name;
            EXPECT_EQ(after.log2_chroma_w, before.log2_chroma_w) << name;
        }
    }
}

TEST(ResizerTest, FieldsThatAreScaledTogetherAreNone)
{
    const std::tuple<Modes, int, int, bool> rows[] = {
        {Modes::Exact, 32, 48, true},
        {Modes::Exact, 64, 24, false},
        {Modes::Fill, 64, 44, false}, // rows of chroma change their field
        {Modes::Fill, 64, 40, true},
    };
    for (const auto& [mode, width, height, interlaced] : rows)
    {
        const SP<IOneInputEffectVideo> resizer = MakeResizer(mode, width, height);
        SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, 64, 48);
        FFmpeg::SetInterlaced(GetRecord(frame), true);
        SP<Conf::IFormatCodecVideo> format = MakeVideoFormat(PixFmt::YUV420P, 64, 48);
        format->GetProperties().SetChildT<long long>(FormatTags::FIELD_ORDER, AV_FIELD_TT);
        resizer->UpdateFormat(format);
        resizer->Process(frame);
        EXPECT_EQ(frame->IsInterlaced(), interlaced) << width << "x" << height;
        EXPECT_EQ(format->GetProperties()[FormatTags::FIELD_ORDER].GetInt64() == AV_FIELD_TT, interlaced);
    }
}

TEST(ResizerTest, ALogoHasNoFringe)
{
    for (const char* name : {"rgba", "ya8", "gbrap", "yuva420p", "rgba64le"})
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
            Convert(logo, {PixFmtDescription::FindByName(name)});
            MakeResizer(Modes::Exact, 23, 19)->Process(logo);
            ASSERT_EQ(logo->GetPixFmt(), PixFmtDescription::FindByName(name));
            Convert(logo, {PixFmt::RGBA});
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
SP<IDataVideo> MakeInterlaced(int number)
{
    const SP<IDataVideo> top = MakePicture(PixFmt::YUV420P, 96, 64, 2 * number),
                         bottom = MakePicture(PixFmt::YUV420P, 96, 64, 2 * number + 1);
    for (int i = 0; i < GetPlanesCount(*top); ++i)
        for (size_t y = 1; y < top->GetPlane(i).GetHeight(); y += 2)
            std::copy_n(bottom->GetPlane(i).GetOffsetPtr(0, y), top->GetPlane(i).GetRowBytes(),
                        top->GetPlane(i).GetOffsetPtr(0, y));
    FFmpeg::SetInterlaced(GetRecord(top), true);
    FFmpeg::SetTopFieldFirst(GetRecord(top), true);
    return top;
}

TEST(DeinterlacerTest, GivesTheFirstFieldAWholePictureAndHoldsNothingBack)
{
    for (const auto method : {SettingsDeinterlace::Method::Bwdif, SettingsDeinterlace::Method::Yadif})
    {
        SettingsDeinterlace settings;
        settings.method = method;
        const SP<IOneInputEffectVideo> effect = MakeEffect(settings);
        for (int i = 0; i < 8; ++i)
        {
            const SP<IDataVideo> given = MakeInterlaced(i), field = MakePicture(PixFmt::YUV420P, 96, 64, 2 * i);
            SP<IDataVideo> frame = given->Clone(0);
            effect->Process(frame);
            ASSERT_TRUE(frame);
            EXPECT_EQ(frame->GetPTS(), given->GetPTS());
            EXPECT_EQ(frame->GetDuration(), 40000);
            EXPECT_FALSE(frame->IsInterlaced());
            EXPECT_GE(FindPsnr(*frame, *field), FindPsnr(*given, *field) + 3) << i;
        }
        SP<IDataVideo> progressive = MakePicture(PixFmt::YUV420P, 95, 33);
        effect->Process(progressive);
        EXPECT_EQ(FindPsnr(*progressive, *MakePicture(PixFmt::YUV420P, 95, 33)), 99);
    }
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
        {"gbrp", AVCOL_RANGE_UNSPECIFIED, {200, 100, 50}, {100, 50, 25}},
    };
    for (const auto& row : rows)
    {
        SP<IDataVideo> frame = MakePicture(PixFmtDescription::FindByName(row.format), 5, 3);
        frame->SetPTS(1000000);
        GetRecord(frame).color_range = static_cast<AVColorRange>(row.range);
        const bool planar = GetPlanesCount(*frame) > 1;
        const auto at = [&](const SP<IDataVideo>& f, int c) -> uint8_t&
        { return *f->GetPlane(planar ? c : 0).GetOffsetPtr(planar ? 2 : static_cast<size_t>(c), 1); };
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
}

TEST(RegistryTest, UnknownNamesAreRefused)
{
    const MediaHost host = MakeHost();
    EXPECT_THROW(host.filters->CreateFilterVideoEx(SettingsResizer(), "OGL", nullptr), FilterException);
    EXPECT_THROW(host.filters->CreateFilterVideoEx(SettingsFade(), "", nullptr), FilterException);
    EXPECT_THROW(host.effects->CreateEffectVideo("Snow", "", nullptr), EffectException);
    EXPECT_THROW(host.algorithms->CreateAudioFormatter("OGL"), AlgorithmException);
}

// Sound effects need not be fed: they have tests of their own.
TEST(RegistryTest, ListedEffectsCanAllBeMadeAndBearPicturesOfAnySize)
{
    const MediaHost host = MakeHost();
    for (const RegistryEntry& entry : host.effects->List())
        for (const std::string& name : entry.implementations)
        {
            SCOPED_TRACE(entry.classId + " " + name);
            if (entry.kind != "video effect")
            {
                EXPECT_TRUE(host.effects->CreateEffectAudio(entry.classId, name, nullptr));
                continue;
            }
            const SP<IOneInputEffectVideo> effect = host.effects->CreateEffectVideo(entry.classId, name, nullptr);
            EXPECT_EQ(effect->GetSettings().GetName(), entry.classId);
            EXPECT_NO_THROW(effect->Initialize(effect->GetSettings()));
            for (const int size : {128, 37, 2})
                try
                {
                    SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, size, size);
                    effect->Process(frame);
                    ASSERT_TRUE(frame);
                    EXPECT_EQ(frame->GetPTS(), 1000000);
                }
                catch (const EffectException& e)
                {
                    EXPECT_EQ(size, 2) << Describe(e);
                }
        }
}

TEST(RegistryTest, BundlesMakeTheirMembers)
{
    auto resizer = std::make_shared<SettingsResizer>();
    resizer->SetCustomMode(SettingsResizer::CustomModes::Exact, Conf::FrameInfo(16, 16));
    const SP<IOneInputEffectVideo> bundle =
        MakeEffect(SettingsMultiEffect({resizer, std::make_shared<SettingsFade>()}));
    bundle->SetTimeToProgress({2000000, 3000000, &TimeToProgress::Linear});
    SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, 64, 48);
    frame->Fill(Color(255, 255, 255, 255));
    bundle->Process(frame);
    EXPECT_EQ(frame->GetWidth(), 16);
    EXPECT_EQ(*frame->GetPlane(0).GetOffsetPtr(0, 0), 16) << "the fade has not begun";
}

} // namespace

} // namespace Tessor::Host::Tests
