#include "cli/CutSession.h"

#include "cli/Groups.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace Tessor::Cli::Tests
{

// The pictures that open a group of this clip lean on the group before, so a piece that begins in the shadow of that
// group's last picture has to begin with the group itself.
TEST(CutSessionTest, APieceWithoutPicturesOfItsFirstGroupBeginsAtTheSeam)
{
    const std::string clip = TESSOR_SOURCE_DIR "/../shared/media/mpeg2-576i-ac3-synth.vob";
    if (!std::filesystem::exists(clip))
        GTEST_SKIP() << "no clip";
    const auto startOf = [&](const std::string& keep)
    {
        CutRequest request;
        request.input = clip;
        request.keep = {keep};
        CutSession session(request);
        for (const auto& interval : session.GetCut().intervals)
            if (!interval.deleted)
                return interval.start;
        return NoTime;
    };
    const avTime seam = 525333; // the first picture of the second group
    EXPECT_NEAR(startOf("0.525333-3"), seam, 1);
    EXPECT_NEAR(startOf("0.500000-3"), seam, 1);
    EXPECT_NEAR(startOf("0.470000-3"), 485333, 1) << "a picture of the group before is left";
    EXPECT_NEAR(startOf("0.470000-0.480000"), 445333, 1)
        << "no picture begins in the piece: it has the one that stands";
}

} // namespace Tessor::Cli::Tests
