#include "cli/CutSession.h"

#include "cli/Groups.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace Tessor::Cli::Tests
{

namespace
{

/// The folder of real clips lies beside the checkout, or beside the folder of a working tree.
std::string FindClip(const std::string& name)
{
    for (const char* folder : {"/../shared/media/", "/../../shared/media/"})
        if (const std::string path = TESSOR_SOURCE_DIR + (folder + name); std::filesystem::exists(path))
            return path;
    return "";
}

} // namespace

// The pictures that open a group of this clip lean on the group before, so a piece that begins in the shadow of that
// group's last picture has to begin with the group itself.
TEST(CutSessionTest, APieceWithoutPicturesOfItsFirstGroupBeginsAtTheSeam)
{
    const std::string clip = FindClip("mpeg2-576i-ac3-synth.vob");
    if (clip.empty())
        GTEST_SKIP() << "no clip";
    bool untouched = true;
    const auto startOf = [&](const std::string& keep)
    {
        CutRequest request;
        request.input = clip;
        request.keep = {keep};
        CutSession session(request);
        untouched = session.GetTracks().front().untouched;
        for (const auto& interval : session.GetCut().intervals)
            if (!interval.deleted)
                return interval.start;
        return NoTime;
    };
    const avTime seam = 525333; // the first picture of the second group
    EXPECT_NEAR(startOf("0.525333-3"), seam, 1);
    EXPECT_FALSE(untouched) << "that group's first pictures lack their reference";
    EXPECT_NEAR(startOf("0.500000-3"), seam, 1);
    EXPECT_NEAR(startOf("0.470000-3"), 485333, 1) << "a picture of the group before is left";
    EXPECT_NEAR(startOf("0.470000-0.480000"), 445333 - 5333, 1)
        << "no picture begins in the piece: it has the one that stands, from where a count of frames puts it";
}

// The video of this clip begins at 44 ms, a third of a frame behind where a count of frames from the file's start would
// put it. Key pictures are at 44, 1045 and 2046 ms.
TEST(CutSessionTest, BoundsGiveWayToTheGridOfFrames)
{
    const std::string clip = FindClip("vp9-opus.webm");
    if (clip.empty())
        GTEST_SKIP() << "no clip";
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
        SCOPED_TRACE(row.keep);
        CutRequest request;
        request.input = clip;
        request.keep = {row.keep};
        CutSession session(request);
        const auto intervals = session.GetCut().intervals;
        const auto kept =
            std::find_if(intervals.begin(), intervals.end(), [](const auto& interval) { return !interval.deleted; });
        ASSERT_NE(kept, intervals.end());
        EXPECT_EQ(kept->start, row.start);
        EXPECT_EQ(kept->end, row.end);
    }
}

} // namespace Tessor::Cli::Tests
