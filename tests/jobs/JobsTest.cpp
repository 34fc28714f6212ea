// What all jobs have in common, and what an embedder sees of them.

#include "jobs/JobError.h"
#include "jobs/convert/ConvertJob.h"
#include "jobs/cut/CutJob.h"
#include "jobs/detect/LosslessJob.h"
#include "jobs/detect/ProbeJob.h"
#include "jobs/detect/VolumeJob.h"
#include "jobs/repack/RepackJob.h"
#include "jobs/sound/MixJob.h"
#include "jobs/sound/ToneJob.h"
#include "jobs/verify/VerifyJob.h"
#include "tests/support/ScratchFolder.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Jobs;
using Tessor::Test::ScratchFolder;
using Tessor::Test::Slurp;

namespace
{

const std::string clip = TESSOR_SAMPLES "/h264-cavlc.mov";

/// Says so from its n-th question on.
class CancelledFrom final : public IProgress
{
public:
    explicit CancelledFrom(long long question) : question(question) {}

    void Tell(double, avTime) override {}
    void Finish(avTime) override {}
    bool IsCancelled() const override { return ++asked >= question; }

    bool HasCancelled() const { return asked >= question; }

private:
    const long long question;
    mutable std::atomic<long long> asked{0};
};

CutSettings MakeCut(const std::string& output, bool verify)
{
    CutSettings settings;
    settings.input = clip;
    settings.output = output;
    settings.keep.texts = {"0.5-2"};
    settings.keep.times = {{3000000, 4000000}};
    settings.verify = verify;
    return settings;
}

/// Cancelled, it leaves the old file: that is removed, so that nothing stays.
void CutOverOldFile(const std::string& folder, IProgress& progress)
{
    const std::string output = folder + "/a.mov";
    std::ofstream(output) << "old";
    CutSettings settings = MakeCut(output, true);
    settings.writing.overwrite = true;
    try
    {
        CutJob(settings).Run(progress);
    }
    catch (const JobError&)
    {
        EXPECT_EQ(Slurp(output), "old");
        std::filesystem::remove(output);
        throw;
    }
    EXPECT_NE(Slurp(output), "old");
}

void Convert(const std::string& output, IProgress& progress)
{
    ConvertSettings settings;
    settings.input = clip;
    settings.output = output;
    settings.video.preset = "ultrafast";
    settings.videoChain = "scale=width=64";
    ConvertJob(settings).Run(progress);
}

void Tone(const std::string& output, IProgress& progress)
{
    ToneSettings settings;
    settings.output = output;
    ToneJob(settings).Run(progress);
}

} // namespace

TEST(Jobs, CancelledAtAnyMomentTheyLeaveNothing)
{
    const ScratchFolder done;
    CutSettings cut = MakeCut(done / "cut.mov", false);
    NoProgress nobody;
    const VerifySettings verify = VerifySettings::Of(CutJob(cut).Run(nobody));
    using Job = std::function<void(const std::string& folder, IProgress& progress)>;
    const std::pair<const char*, Job> rows[] = {
        {"cut", [](auto& folder, auto& progress) { CutJob(MakeCut(folder + "/a.mov", false)).Run(progress); }},
        {"cut and verify",
         [](auto& folder, auto& progress) { CutJob(MakeCut(folder + "/a.mov", true)).Run(progress); }},
        {"cut over an old file and verify", CutOverOldFile},
        {"plan", [](auto&, auto& progress) { CutJob(MakeCut("", false)).Plan(progress); }},
        {"verify", [&](auto&, auto& progress) { VerifyJob(verify).Run(progress); }},
        {"repack",
         [](auto& folder, auto& progress) {
             RepackJob({clip, folder + "/a.mkv"}).Run(progress);
         }},
        {"convert", [](auto& folder, auto& progress) { Convert(folder + "/a.mp4", progress); }},
        {"mix",
         [](auto& folder, auto& progress) {
             MixJob({{{clip}, {clip, 50}}, folder + "/a.wav"}).Run(progress);
         }},
        {"tone", [](auto& folder, auto& progress) { Tone(folder + "/a.wav", progress); }},
        {"lossless", [](auto&, auto& progress) { LosslessJob({clip}).Run(progress); }},
        {"volume", [](auto&, auto& progress) { VolumeJob({clip}).Run(progress); }},
        {"probe", [](auto&, auto& progress) { ProbeJob({clip}).Run(progress); }},
    };
    for (const auto& [name, run] : rows)
    {
        int cancelled = 0;
        for (long long question = 1;; question += 1 + question / 3)
        {
            SCOPED_TRACE(std::string(name) + ", question " + std::to_string(question));
            const ScratchFolder folder;
            CancelledFrom progress(question);
            try
            {
                run(folder.Path(), progress);
                EXPECT_FALSE(progress.HasCancelled());
                break;
            }
            catch (const JobError& e)
            {
                EXPECT_EQ(e.kind, JobError::Cancelled);
                EXPECT_EQ(folder.List(), std::vector<std::string>{});
                ++cancelled;
            }
        }
        EXPECT_GT(cancelled, 3) << name;
    }
}

// Before there is a packet: this file has none, and is no media file at all.
TEST(Jobs, OpeningIsCancelledToo)
{
    const ScratchFolder folder;
    const std::string path = folder / "blank";
    std::ofstream(path) << std::string(1 << 20, '\0');
    CancelledFrom progress(1);
    try
    {
        ProbeJob({path}).Run(progress);
        ADD_FAILURE() << "it was opened";
    }
    catch (const JobError& e)
    {
        EXPECT_EQ(e.kind, JobError::Cancelled);
    }
}

TEST(Jobs, TheReadmeShowsAProgramThatCuts)
{
    const std::string root = TESSOR_SOURCE_DIR "/";
    EXPECT_NE(Slurp(root + "README.md").find("```cpp\n" + Slurp(root + "examples/cut.cpp") + "```\n"),
              std::string::npos);
    const ScratchFolder folder;
    const std::string told = folder / "told.txt";
    ASSERT_EQ(std::system((TESSOR_EXAMPLE " " + clip + " " + (folder / "out.mov") + " >" + told + " 2>&1").c_str()), 0)
        << Slurp(told);
    NoProgress nobody;
    const ProbeReport result = ProbeJob({folder / "out.mov"}).Run(nobody);
    EXPECT_EQ(result.tracks.at(0).cutting->CountPictures(), 81); // of 2.7 s
    for (const char* part : {"0:00:00.000000 re-encode: cut at ", "100 %", "\"intervals\": ["})
        EXPECT_NE(Slurp(told).find(part), std::string::npos) << Slurp(told);
}
