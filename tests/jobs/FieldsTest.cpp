// Frames are what is displayed: two fields, each a picture of its own to the codec, are one.

#include "jobs/JobError.h"
#include "jobs/cut/CutJob.h"
#include "jobs/detect/ProbeJob.h"
#include "tests/CodecParsers/HeaderTools.h"
#include "tests/CodecParsers/ParameterSetWriter.h"
#include "tests/support/ScratchFolder.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Jobs;
using namespace Tessor::Test;

namespace
{

constexpr uint32_t FRAMES = 12, GROUP = 6;

/// A slice of a field, up to its order count; the first one of a group refreshes.
Bytes MakeField(uint32_t number)
{
    const uint32_t frame = number / 2 % GROUP;
    const bool refresh = frame == 0 && number % 2 == 0;
    ParameterSetWriter slice;
    slice.Put({{8, refresh ? 0x65u : 0x41u}, {UE, 0}, {UE, refresh ? 7u : 0u}, {UE, 0}, {4, frame}});
    slice.Put({{2, number % 2 == 0 ? 2u : 3u}, {refresh ? UE : 0, number / 2 / GROUP % 2}});
    slice.Put({{4, number % (2 * GROUP)}, {32, number}});
    return WithStartCode(slice.Finish());
}

std::string WriteFields(const std::string& path)
{
    const H264Fields header{.refs = 2, .orderBits = 4, .fields = H264Fields::Paff};
    std::ofstream file(path, std::ios::binary);
    const auto put = [&](const Bytes& bytes)
    { file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())); };
    for (uint32_t i = 0; i < 2 * FRAMES; ++i)
    {
        if (i % (2 * GROUP) == 0)
            put(header.AnnexB());
        put(MakeField(i));
    }
    return path;
}

} // namespace

TEST(Jobs, TwoFieldsAreOneFrame)
{
    const ScratchFolder scratch;
    NoProgress quiet;
    const std::string clip = WriteFields(scratch / "fields.264");
    const ProbeReport probed = ProbeJob({clip}).Run(quiet);
    EXPECT_EQ(probed.tracks.at(0).cutting->CountPictures(), FRAMES);

    CutSettings settings;
    settings.input = clip;
    settings.keep.texts = {"6f-12f"};
    const PlanReport plan = CutJob(settings).Plan(quiet);
    ASSERT_EQ(plan.groups.size(), 2u);
    for (const GroupPlan& row : plan.groups)
        EXPECT_EQ(row.group.pictures.size(), GROUP);
    EXPECT_EQ(plan.groups[1].action, GroupPlan::Action::Copy);
    settings.keep.texts = {"0f-13f"};
    EXPECT_THROW(CutJob(settings).Plan(quiet), JobError);
}
