#include "jobs/JobError.h"
#include "jobs/detect/ProbeJob.h"
#include "jobs/split/PieceNames.h"
#include "jobs/split/SplitJob.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScratchFolder.h"

#include <filesystem>
#include <fstream>

using namespace Tessor;
using namespace Tessor::Jobs;
using Tessor::Test::ScratchFolder;

TEST(Split, NamesOfPieces)
{
    using Names = std::vector<std::string>;
    const std::tuple<const char*, Names, Names> rows[] = {
        {"o/{name}-{number}-{title}.mkv",
         {"a/b", "", "\x01\xFFü"},
         {"o/in-1-a_b.mkv", "o/in-2-part.mkv", "o/in-3-__ü.mkv"}},
        {"o.d/x.mp4", {"", ""}, {"o.d/x-1.mp4", "o.d/x-2.mp4"}},
        {"{title}", {".."}, {"_."}},
        {"{title}", {std::string(99, 'x') + "ü"}, {std::string(99, 'x')}},
    };
    for (const auto& [pattern, titles, names] : rows)
        EXPECT_EQ(NamePieces(pattern, "films/in.mp4", titles), names) << pattern;
    EXPECT_EQ(NamePieces("{number}", "in", Names(10)).front(), "01");
    for (const char* pattern : {"{title}.mp4", "{nonsense}{number}", "{number", "x{number}/../{title}"})
        EXPECT_THROW(NamePieces(pattern, "in", {"same", "same"}), JobError) << pattern;
}

// Each packet of the file is in one piece, or in two where groups are open; none is encoded anew, and no piece is
// larger than asked.
TEST(Split, PiecesHoldTheWholeFile)
{
    NoProgress nobody;
    for (const char* clip : {"h264.mp4", "mpeg4.avi", "mp3.mp3", "mpeg2.vob"})
    {
        const std::string input = TESSOR_SAMPLES "/" + std::string(clip);
        const auto whole = static_cast<long long>(std::filesystem::file_size(input));
        const bool open = clip == std::string("mpeg2.vob");
        for (const bool bySize : {true, false})
        {
            const ScratchFolder folder;
            SplitSettings settings;
            settings.cut.input = input;
            settings.cut.output = folder / "{name}.mkv";
            settings.size = bySize ? whole / 2 : 0;
            settings.time = bySize ? 0 : SECOND;
            const SplitReport report = SplitJob(settings).Run(nobody);
            EXPECT_GT(report.pieces.size(), 1u) << clip;
            settings.cut.output = folder / "whole.mkv";
            settings.size = settings.time = 0;
            settings.cut.keep.times = {{0, MAX_DURATION}};
            const CutReport all = SplitJob(settings).Run(nobody).pieces.at(0);
            for (size_t track = 0; track < all.tracks.size(); ++track)
            {
                long long packets = 0;
                for (const CutReport& piece : report.pieces)
                    packets += open ? piece.tracks.at(track).packets : piece.tracks.at(track).GetCopiedPackets();
                EXPECT_EQ(packets, all.tracks[track].packets) << clip << ", track " << track;
            }
            for (const CutReport& piece : report.pieces)
                EXPECT_TRUE(!bySize || open || std::cmp_less_equal(std::filesystem::file_size(piece.output), whole / 2))
                    << clip;
        }
    }
}

TEST(Split, ATakenNameStopsItBeforeTheFirstPiece)
{
    const ScratchFolder folder;
    SplitSettings settings;
    settings.cut.input = TESSOR_SAMPLES "/h264.mp4";
    settings.cut.output = folder / "p{number}.mp4";
    settings.cut.keep.texts = {"1-2,3-4"};
    std::ofstream(folder / "p2.mp4") << "mine";
    NoProgress nobody;
    EXPECT_THROW(SplitJob(settings).Run(nobody), JobError);
    EXPECT_EQ(folder.List(), std::vector<std::string>{"p2.mp4"});
    settings.cut.writing.overwrite = true;
    EXPECT_EQ(SplitJob(settings).Run(nobody).pieces.at(1).intervals, (std::vector<Range>{{3000000, 4000000}}));
    EXPECT_EQ(folder.List(), (std::vector<std::string>{"p1.mp4", "p2.mp4"}));
}
