#include "Proc/Filters/Filters/FilterBlurTransparentBorder.h"

#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "media/DataVideoFF.h"
#include "tests/Filters/FakeEffects.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

/// 8 x 8 pixels of the bytes 1 2 3 4 5 ..., with an alpha of 0 but for the pixel in the middle.
SP<IDataVideo> Picture(PixFmt format, int alphaByte)
{
    const SP<IDataVideo> frame = DataVideoFF::Create(format, {8, 8}, nullptr);
    for (size_t y = 0; y < 8; ++y)
    {
        uint8_t* const row = frame->GetPlane(0).GetOffsetPtr(0, y);
        for (size_t i = 0; i < frame->GetPlane(0).GetRowBytes(); ++i)
            row[i] = static_cast<uint8_t>(i % 4 == static_cast<size_t>(alphaByte) ? 0 : 1 + y * 32 + i);
    }
    frame->GetPlane(0).GetOffsetPtr(16, 4)[alphaByte] = 200;
    frame->SetPTS(0);
    frame->SetDuration(40 * ms);
    return frame;
}

SP<IStreamVideoEx> Make(const SP<IDataVideo>& frame, const SP<FakeEffectFactory>& factory, int matrix = 5)
{
    const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create("0"));
    source->map = [frame](const SP<IDataVideo>&) { return frame; };
    return FilterBlurTransparentBorder::Create(source, factory, SettingsFilterBlurTransparentBorder(matrix));
}

/// Pixels of the frame that have the colour of the visible one.
int CountColoured(IDataVideo& frame, int alphaByte)
{
    const auto colour = [alphaByte](const uint8_t* pixel)
    { return std::vector<uint8_t>(pixel + (alphaByte == 0 ? 1 : 0), pixel + (alphaByte == 0 ? 4 : 3)); };
    int count = 0;
    for (size_t i = 0; i < 64; ++i)
        count +=
            colour(frame.GetPlane(0).GetOffsetPtr(i % 8 * 4, i / 8)) == colour(frame.GetPlane(0).GetOffsetPtr(16, 4));
    return count;
}

TEST(FilterBlurTransparentBorder, KnowsWhereTheAlphaIs)
{
    for (const auto& [format, alphaByte] :
         {std::pair(PixFmt::RGBA, 3), {PixFmt::BGRA, 3}, {PixFmt::ARGB, 0}, {PixFmt::ABGR, 0}})
    {
        const SP<IDataVideo> frame = Picture(format, alphaByte);
        const SP<IStreamVideoEx> filter = Make(frame, FakeEffectFactory::Create());
        const SP<IDataVideo> result = filter->Read();
        ASSERT_TRUE(result && result != frame);
        EXPECT_EQ(CountColoured(*result, alphaByte), 16) << "the window of a matrix of 5 is 4 x 4";
        EXPECT_EQ(CountColoured(*frame, alphaByte), 1) << "the parent's frame stays";
        EXPECT_EQ(result->GetPlane(0).GetOffsetPtr(0, 0)[alphaByte], 0);
        EXPECT_EQ(result->GetPTS(), 0);
    }
}

TEST(FilterBlurTransparentBorder, PassesWhatItCannotWorkOn)
{
    const std::string converted = SettingsColorspaceConverter::CLASS_ID + ".Process";
    for (const auto& [format, calls] :
         {std::pair(PixFmt::RGB24, std::string()), {PixFmt::YUV420P, ""}, {PixFmt::YUVA420P, converted}})
    {
        const SP<IDataVideo> frame = DataVideoFF::Create(format, {8, 8}, nullptr);
        const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
        const SP<IStreamVideoEx> filter = Make(frame, factory);
        factory->log->Take();
        EXPECT_EQ(filter->Read(), frame);
        EXPECT_EQ(factory->log->Take(), calls);
    }
}

TEST(FilterBlurTransparentBorder, AWindowOfAMatrixOf1IsEmpty)
{
    const SP<IStreamVideoEx> filter = Make(Picture(PixFmt::RGBA, 3), FakeEffectFactory::Create(), 1);
    EXPECT_EQ(CountColoured(*filter->Read(), 3), 1);
}

} // namespace
} // namespace Tessor::Test
