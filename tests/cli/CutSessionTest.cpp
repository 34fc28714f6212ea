#include "cli/CutSession.h"

#include "cli/Groups.h"
#include "cli/UserError.h"
#include "tests/support/Media.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Tessor::Cli::Tests
{

namespace
{

/// What becomes of a request for one piece.
struct Kept
{
    Kept(const std::string& clip, const std::string& keep)
    {
        CutRequest request;
        request.input = Tessor::Test::ClipPath(clip);
        request.keep = {keep};
        CutSession session(request);
        untouched = session.GetTracks().front().untouched;
        const auto intervals = session.GetCut().intervals;
        const auto kept =
            std::find_if(intervals.begin(), intervals.end(), [](const auto& interval) { return !interval.deleted; });
        if (kept != intervals.end())
        {
            start = kept->start;
            end = kept->end;
        }
    }
    avTime start = NoTime, end = NoTime;
    bool untouched; // the first track is copied as it is
};

} // namespace

// The pictures that open a group of this clip lean on the group before, so a piece that begins in the shadow of that
// group's last picture has to begin with the group itself.
TEST(CutSessionTest, APieceWithoutPicturesOfItsFirstGroupBeginsAtTheSeam)
{
    const char* const clip = "mpeg2-576i-ac3-synth.vob";
    TESSOR_SKIP_WITHOUT(clip);
    const avTime seam = 525333; // the first picture of the second group
    EXPECT_NEAR(Kept(clip, "0.525333-3").start, seam, 1);
    EXPECT_FALSE(Kept(clip, "0.525333-3").untouched) << "that group's first pictures lack their reference";
    EXPECT_NEAR(Kept(clip, "0.500000-3").start, seam, 1);
    EXPECT_NEAR(Kept(clip, "0.470000-3").start, 485333, 1) << "a picture of the group before is left";
    EXPECT_NEAR(Kept(clip, "0.470000-0.480000").start, 445333 - 5333, 1)
        << "no picture begins in the piece: it has the one that stands, from where a count of frames puts it";
}

// Its first 27 pictures come before all key pictures.
TEST(CutSessionTest, PicturesThatNobodyCanDecodeAreNotCutThrough)
{
    const char* const clip = "h264-missing-idr.264";
    TESSOR_SKIP_WITHOUT(clip);
    EXPECT_EQ(Kept(clip, "0.5-2").start, 1080000);
    EXPECT_EQ(Kept(clip, "0-0.5,2-3").start, 2000000);
    EXPECT_EQ(Kept(clip, "0-2").start, 0) << "copied as they are";
    EXPECT_THROW(Kept(clip, "0.5-1"), UserError);
}

// The video of this clip begins at 44 ms, a third of a frame behind where a count of frames from the file's start would
// put it. Key pictures are at 44, 1045 and 2046 ms.
TEST(CutSessionTest, BoundsGiveWayToTheGridOfFrames)
{
    TESSOR_SKIP_WITHOUT("vp9-opus.webm");
    constexpr avTime slack = 44000 - 33366, rounding = 1000;
    struct Row
    {
        const char* keep;
        avTime start, end;
    };
    for (const Row& row : {Row{"0.730-1.212", 745000 - slack - rounding, 1212000 - slack - rounding},
                           Row{"0.035-1.212", 44000 - slack - rounding, 1212000 - slack - rounding},
                           Row{"0.020-1.212", 20000, 1212000 - slack - rounding},
                           // all of them alike, and a group can't be parted from its key picture
                           Row{"1.040-1.212", 1045000, 1212000 - rounding}})
    {
        const Kept kept("vp9-opus.webm", row.keep);
        EXPECT_EQ(kept.start, row.start) << row.keep;
        EXPECT_EQ(kept.end, row.end) << row.keep;
    }
}

} // namespace Tessor::Cli::Tests
