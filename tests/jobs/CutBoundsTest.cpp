// Where groups of pictures begin and end, and what is made of bounds that lie in them.

#include "ffhost/io/reading/Demuxer.h"
#include "jobs/JobError.h"
#include "jobs/ReadProgress.h"
#include "jobs/cut/CutJob.h"
#include "jobs/cut/GroupCache.h"
#include "tests/support/ReadAll.h"

#include <random>

using namespace Tessor;
using namespace Tessor::Jobs;

namespace
{

PlanReport Plan(const std::string& clip, const Range& range, Snap snap)
{
    CutSettings settings;
    settings.input = TESSOR_SAMPLES "/" + clip;
    settings.keep.times = {range};
    settings.snap = snap;
    NoProgress nobody;
    return CutJob(settings).Plan(nobody);
}

auto Told(const Group& group)
{
    return std::tuple(group.start, group.entry, group.end, group.pictures, group.next.position, group.next.entry);
}

} // namespace

TEST(CutBounds, FallToTheKeyFrameThatIsAskedFor)
{
    const char* const clip = "h264-opengop.mp4";
    const Range asked{2200000, 6900000};
    const Range out = Plan(clip, asked, Snap::Outward).intervals.at(0);
    const Range in = Plan(clip, asked, Snap::Inward).intervals.at(0);
    const Range near = Plan(clip, asked, Snap::Nearest).intervals.at(0);
    EXPECT_LT(out.start, asked.start);
    EXPECT_GT(in.start, asked.start);
    EXPECT_LT(in.end, asked.end);
    EXPECT_GT(out.end, asked.end);
    EXPECT_EQ(near.start, asked.start - out.start <= in.start - asked.start ? out.start : in.start);
    EXPECT_EQ(near.end, asked.end - in.end <= out.end - asked.end ? in.end : out.end);
    EXPECT_NE(
        Tessor::Test::TextOf<JobError>([&] { Plan(clip, asked, Snap::Fail); }).find("can't be cut at 0:00:02.200000"),
        std::string::npos);
    // what is at key frames already stays
    EXPECT_EQ(Plan(clip, in, Snap::Fail).intervals.at(0), in);
    const PlanReport moved = Plan(clip, asked, Snap::Inward);
    ASSERT_EQ(moved.moved.size(), 2u);
    EXPECT_EQ(moved.moved[0].asked, asked.start);
    EXPECT_EQ(moved.moved[0].kept, in.start);
}

// On one way through the file, from memory or by a seek of its own: a group is the same.
TEST(CutBounds, GroupsAreFoundInOneWay)
{
    std::mt19937 random(12);
    for (const char* clip : {"h264.mp4", "h264-opengop.mp4", "hevc-cra.mp4", "hevc.ts", "mpeg2.vob", "h264-vfr.mp4"})
    {
        const SP<Host::Demuxer> demuxer = Host::Demuxer::Open(TESSOR_SAMPLES "/" + std::string(clip));
        const SP<Proc::IStreamRaw> stream = demuxer->GetStream(0);
        std::vector<avTime> edges{0, demuxer->GetInfo().duration};
        NoProgress quiet;
        ReadProgress reading(quiet, demuxer->GetInfo().duration);
        for (const Group& group : ScanGroups(*stream, reading))
            edges.insert(edges.end(), {group.start, group.entry, group.pictures.back()});
        for (int round = 0; round < 20; ++round)
        {
            std::vector<avTime> times;
            for (size_t count = 1 + random() % 12; count > 0; --count)
                times.push_back(random() % 2 ? edges[random() % edges.size()] + static_cast<avTime>(random() % 3) - 1
                                             : static_cast<avTime>(random() % (demuxer->GetInfo().duration + 100000)));
            GroupCache cache(stream);
            cache.Gather(times);
            std::shuffle(times.begin(), times.end(), random);
            for (const avTime time : times)
            {
                const Group fresh = GroupReader(stream).Find(time);
                EXPECT_EQ(Told(cache.FindGroup(time)), Told(fresh)) << clip << " at " << time;
            }
        }
    }
}
