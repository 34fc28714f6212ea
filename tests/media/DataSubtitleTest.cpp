#include "media/items/DataSubtitleFF.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

/// A record over memory of the test's own, that can be spoiled after it was copied.
struct Source
{
    std::vector<uint8_t> indices = {1, 2, 3, 99, 0, 1, 2}; // 3 x 2 with rows of 4; the last is short
    std::vector<uint8_t> palette = std::vector<uint8_t>(16, 5);
    std::string text = "plain", ass = "Dialogue: styled";
    AVSubtitleRect bitmap{}, styled{};
    AVSubtitleRect* rects[2] = {&bitmap, &styled};
    AVSubtitle record{};

    Source()
    {
        bitmap.type = SUBTITLE_BITMAP;
        bitmap.x = 10;
        bitmap.w = 3;
        bitmap.h = 2;
        bitmap.nb_colors = 4;
        bitmap.data[0] = indices.data();
        bitmap.linesize[0] = 4;
        bitmap.data[1] = palette.data();
        styled.type = SUBTITLE_ASS;
        styled.flags = AV_SUBTITLE_FLAG_FORCED;
        styled.text = text.data();
        styled.ass = ass.data();
        record.end_display_time = 400;
        record.pts = 77;
        record.num_rects = 2;
        record.rects = rects;
    }
};

void ExpectCopied(const AVSubtitle& copy)
{
    EXPECT_EQ(copy.pts, 77);
    EXPECT_EQ(copy.end_display_time, 400u);
    ASSERT_EQ(copy.num_rects, 2u);
    const AVSubtitleRect& bitmap = *copy.rects[0];
    EXPECT_EQ(bitmap.x, 10);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(bitmap.data[0][y * bitmap.linesize[0] + x], y == 0 ? x + 1 : x);
    // the palette is complete, whatever the indices are
    for (int i = 0; i < AVPALETTE_SIZE; ++i)
        EXPECT_EQ(bitmap.data[1][i], i < 16 ? 5 : 0);
    EXPECT_EQ(bitmap.ass, nullptr);
    EXPECT_STREQ(copy.rects[1]->text, "plain");
    EXPECT_STREQ(copy.rects[1]->ass, "Dialogue: styled");
    EXPECT_EQ(copy.rects[1]->flags, AV_SUBTITLE_FLAG_FORCED);
    EXPECT_EQ(copy.rects[1]->data[0], nullptr);
}

} // namespace

TEST(DataSubtitle, IsADeepCopy)
{
    SP<DataSubtitleFF> item;
    {
        const Source source;
        item = DataSubtitleFF::Create(source.record, 100, 40);
    }
    ExpectCopied(item->GetAVSubtitle());
    const SP<IDataSubtitle> shared = item->Clone(0);
    const SP<IDataSubtitle> deep = item->Clone(2);
    EXPECT_EQ(&shared->GetAVSubtitle(), &item->GetAVSubtitle());
    EXPECT_NE(&deep->GetAVSubtitle(), &item->GetAVSubtitle());
    EXPECT_EQ(deep->GetMemorySize(), item->GetMemorySize());
    item.reset();
    ExpectCopied(shared->GetAVSubtitle());
    ExpectCopied(deep->GetAVSubtitle());
}

TEST(DataSubtitle, BrokenBitmapsAreLeftOut)
{
    void (*const faults[])(AVSubtitleRect&) = {
        [](AVSubtitleRect& r) { r.w = -1; },
        [](AVSubtitleRect& r) { r.h = 0; },
        [](AVSubtitleRect& r) { r.data[0] = nullptr; },
        [](AVSubtitleRect& r) { r.data[1] = nullptr; },
        [](AVSubtitleRect& r) { r.linesize[0] = 2; },
    };
    for (const auto fault : faults)
    {
        Source source;
        fault(source.bitmap);
        const SP<DataSubtitleFF> item = DataSubtitleFF::Create(source.record, 0, 1);
        EXPECT_EQ(item->GetAVSubtitle().rects[0]->data[0], nullptr);
        EXPECT_EQ(item->GetAVSubtitle().rects[0]->data[1], nullptr);
        EXPECT_STREQ(item->GetAVSubtitle().rects[1]->text, "plain");
    }
    Source source;
    source.bitmap.nb_colors = -1;
    EXPECT_EQ(DataSubtitleFF::Create(source.record, 0, 1)->GetAVSubtitle().rects[0]->data[1][0], 0);
}
