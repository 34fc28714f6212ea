#include "Proc/Filters/Filters/FilterLosslessDetect.h"
#include "ffhost/io/Demuxer.h"
#include "tests/support/Media.h"

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Test;

namespace
{

struct Row
{
    const char* clip;
    uint64_t losslessEnd; // number of the packet that ends copying, 0 for none
    uint64_t cutEnd;      // the same for cutting
};

class LosslessDetect : public testing::TestWithParam<Row>
{
};

} // namespace

// What the demuxer delivers always has sound times; only HEVC with open groups can't be cut at its key frames.
TEST_P(LosslessDetect, Clip)
{
    TESSOR_SKIP_WITHOUT(GetParam().clip);
    const SP<Host::Demuxer> demuxer = Host::Demuxer::Open(ClipPath(GetParam().clip));
    SettingsLosslessDetect settings;
    settings.detectors = 15;
    settings.minPacketsPerBadPts = 1000;
    for (const Host::TrackInfo& track : demuxer->GetInfo().tracks)
    {
        if (track.type != MediaType::Video)
            continue;
        const auto filter = FilterLosslessDetect::Create(demuxer->GetStream(track.index), settings);
        while (filter->Read())
        {
        }
        EXPECT_EQ(filter->LosslessPossible(), GetParam().losslessEnd == 0);
        EXPECT_EQ(filter->GetLosslessEnd(), GetParam().losslessEnd);
        EXPECT_EQ(filter->LosslessCutPossible(), GetParam().cutEnd == 0);
        EXPECT_EQ(filter->GetLosslessCutEnd(), GetParam().cutEnd);
    }
}

INSTANTIATE_TEST_SUITE_P(Media, LosslessDetect,
                         testing::Values(Row{"hevc-annexb-aac.ts", 0, 0}, Row{"hevc-hev1-cra-aac.mp4", 0, 28},
                                         Row{"hevc-hvc1-main10-hdr10-aac.mp4", 0, 0},
                                         Row{"h264-1080i-opengop-avchd-ac3.mts", 0, 0}, Row{"mpeg4sp-mp3.avi", 0, 0}));
