// Faults in a file that was cut: the judge has to name each of them.

#include "ffhost/io/writing/Muxer.h"
#include "jobs/ReadJointly.h"
#include "jobs/TrackSelection.h"
#include "jobs/verify/VerifyJob.h"
#include "tests/cli/ProgramFixture.h"

extern "C"
{
#include <libavcodec/packet.h>
}

using namespace Tessor;
using namespace Tessor::Jobs;
using namespace Tessor::Cli::Tests;

namespace
{

using Packets = std::vector<SP<Proc::IDataPacket>>;
using Tracks = std::vector<Packets>;

constexpr int first_video = 0, second_video = 1, sound = 2, subtitles = 3;

using Edit = std::function<void(Tracks&)>;

Edit Drop(int track, size_t first, size_t count = 1)
{
    return [=](Tracks& tracks)
    {
        const auto place = tracks[track].begin() + static_cast<std::ptrdiff_t>(first);
        tracks[track].erase(place, place + static_cast<std::ptrdiff_t>(count));
    };
}

/// Moves packets of a track to where their new times belong, or copies of them.
Edit Move(int track, size_t first, size_t count, avTime by, bool copies = false)
{
    return [=](Tracks& tracks)
    {
        for (size_t i = first; i < first + count; ++i)
        {
            const SP<Proc::IDataPacket> packet = copies ? tracks[track][i]->Clone() : tracks[track][i];
            packet->SetPTS(packet->GetPTS() + by);
            packet->SetDTS(packet->GetDTS() + by);
            if (copies)
                tracks[track].push_back(packet);
        }
        std::stable_sort(tracks[track].begin(), tracks[track].end(),
                         [](auto& a, auto& b) { return a->GetDTS() < b->GetDTS(); });
    };
}

/// Copies a file with what `edit` makes of the packets of its tracks.
void Rewrite(const std::string& from, const std::string& to, const Edit& edit)
{
    const SP<Host::Demuxer> demuxer = Host::Demuxer::Open(from);
    const std::unique_ptr<Host::Muxer> muxer = Host::Muxer::Create(to, {.overwrite = true});
    const std::vector<Host::TrackInfo>& infos = demuxer->GetInfo().tracks;
    std::vector<SP<Proc::IStreamRaw>> streams;
    for (const Host::TrackInfo& info : infos)
    {
        muxer->AddTrack(info, info.format, true);
        if (info.type == MediaType::Subtitle)
            demuxer->SelectSparse(info.index);
        else
            streams.push_back(demuxer->GetStream(info.index));
    }
    muxer->Open();
    Tracks tracks(infos.size());
    ReadJointly(streams,
                [&](size_t place, const SP<Proc::IDataPacket>& packet) { tracks[place].push_back(packet->Clone()); });
    if (infos.size() > subtitles)
        tracks[subtitles] = demuxer->TakeSparse(subtitles);
    edit(tracks);
    for (size_t i = 0; i < tracks.size(); ++i)
    {
        for (const SP<Proc::IDataPacket>& packet : tracks[i])
            muxer->Write(static_cast<int>(i), packet);
        muxer->EndTrack(static_cast<int>(i));
    }
    muxer->Finish();
}

class Verifying : public Program
{
protected:
    /// Two videos with groups of a second, sound whose second half is silent, subtitles.
    void MakeSource() const
    {
        Make("printf '1\\n00:00:01,500 --> 00:00:01,900\\none\\n\\n2\\n00:00:02,500 --> 00:00:03,500\\ntwo\\n' >s.srt "
             "&& ffmpeg -v error -f lavfi -i testsrc2=size=64x64:rate=25 -f lavfi -i testsrc=size=64x64:rate=25 "
             "-f lavfi -i 'aevalsrc=if(lt(t\\,2)\\,random(0)\\,0):s=48000' -i s.srt -map 0 -map 1 -map 2 -map 3 -t 4 "
             "-c:v mpeg4 -g 25 -sc_threshold 1000000000 -c:a ac3 -c:s srt source.mkv");
    }

    VerifyReport Judge(const std::string& output, const std::vector<int>& tracks) const
    {
        return Judge("source.mkv", output, {{1000000, 3000000}}, tracks);
    }

    VerifyReport Judge(const std::string& source, const std::string& output, const std::vector<Range>& kept,
                       const std::vector<int>& tracks) const
    {
        VerifySettings settings;
        settings.source = folder / source;
        settings.output = folder / output;
        settings.intervals = kept;
        settings.tracks = tracks;
        NoProgress nobody;
        return VerifyJob(settings).Run(nobody);
    }
};

} // namespace

TEST_F(Verifying, EveryFaultIsNamed)
{
    MakeSource();
    ASSERT_EQ(Run("cut source.mkv good.mkv --keep 1-3").status, 0);
    const std::string of62 = "track 2 (audio, ac3): of 62 packets ";
    const std::pair<std::string, Edit> rows[] = {
        {"", [](Tracks&) {}},
        {of62 + "1 missing", Drop(sound, 10)},
        {of62 + "1 missing", Drop(sound, 50)}, // silence, in the midst of more of it
        {of62 + "30 missing", Drop(sound, 32, 30)},
        {of62 + "1 doubled", Move(sound, 10, 1, 16000, true)},
        {of62 + "2 out of place", [](Tracks& t) { Move(sound, 10, 1, 32000)(t), Move(sound, 11, 1, -32000)(t); }},
        {of62 + "1 missing, 1 that are none of the source's",
         [](Tracks& t) { t[sound][20]->GetAVPacket()->data[100] ^= 1; }},
        {"track 1 (video, mpeg4): 75 pictures, 50 expected", Move(second_video, 25, 25, 1000000, true)},
        {"track 0 (video, mpeg4): 49 pictures, 50 expected", Drop(first_video, 49)},
        {"track 3 (subtitle, subrip): of 2 packets 1 missing", Drop(subtitles, 1)},
    };
    for (const auto& [fault, edit] : rows)
    {
        Rewrite(folder / "good.mkv", folder / "bad.mkv", edit);
        const VerifyReport report = Judge("bad.mkv", {0, 1, 2, 3});
        EXPECT_EQ(report.faults, fault.empty() ? std::vector<std::string>{} : std::vector{fault});
    }
    // two pictures that are shown in another order than they are decoded in, as the source is misread as well
    Rewrite(folder / "source.mkv", folder / "bad.mkv",
            [](Tracks& t)
            {
                t[first_video][30]->SetPTS(t[first_video][31]->GetPTS());
                t[first_video][31]->SetPTS(t[first_video][29]->GetPTS() + 40000);
            });
    EXPECT_EQ(Judge("bad.mkv", "bad.mkv", {{0, 4000000}}, {0}).faults.at(0),
              "track 0 (video, mpeg4): 1 picture shown in an order that times contradict");
    // all of the sound lies late, against pictures that are where they should be
    Rewrite(folder / "good.mkv", folder / "bad.mkv", Move(sound, 0, 62, 100000));
    EXPECT_NE(Judge("bad.mkv", {0, 1, 2, 3}).faults.at(0).find("out of place"), std::string::npos);
    EXPECT_EQ(Judge("good.mkv", {0, 1, 2}).faults,
              std::vector<std::string>{"the output's track 3 (subtitle) is none of the source's"});
    Make("ffmpeg -v error -i good.mkv -map 0:v -c copy mute.mkv");
    EXPECT_EQ(Judge("mute.mkv", {0, 1, 2}).faults, std::vector<std::string>{"track 2 (audio, ac3): it is gone"});
    EXPECT_EQ(Judge("mute.mkv", {}).faults.back(), "nothing could be checked");
}

// At seams, too: a packet that is lost is no adjustment, though the writer puts another one in its place.
TEST_F(Verifying, CountedSoundIsAdjustedOnlyWhereItHasToBe)
{
    Make("ffmpeg -v error -f lavfi -i testsrc2=size=64x64:rate=25 -f lavfi "
         "-i 'aevalsrc=random(0):s=48000' -t 4 -c:v mpeg4 -g 25 -c:a ac3 in.avi");
    ASSERT_EQ(Run("cut in.avi good.avi --keep 0.52-1,1.52-1.92 --verify").status, 0);
    Rewrite(folder / "good.avi", folder / "bad.avi", Drop(1, 13));
    EXPECT_EQ(Judge("in.avi", "bad.avi", {{520000, 1000000}, {1520000, 1920000}}, {0, 1}).faults.at(0),
              "track 1 (audio, ac3): of 27 packets 1 missing, 1 doubled");
}

// Ogg tells the ends of pages alone: seams part them, and all lies where it should.
TEST_F(Verifying, SoundInPagesKeepsItsTimes)
{
    const std::string picture = "-f lavfi -i testsrc2=r=25:d=9:s=64x48 -c:v libtheora -g 12 -q:v 5 ";
    for (const std::string row : {"flac a.ogg b.ogg", "flac a.ogg b.mkv", "libspeex a.ogg b.ogg", "libopus a.ogv b.ogv",
                                  "libvorbis a.ogv b.ogv", "flac a.ogv b.ogv", "libspeex a.ogv b.ogv",
                                  "libvorbis a.mkv b.ogv", "libopus a.mkv b.ogv"})
    {
        SCOPED_TRACE(row);
        const std::string codec = row.substr(0, row.find(' ')), files = row.substr(codec.size() + 1);
        Make("ffmpeg -v error -y -f lavfi -i aevalsrc='random(0):s=16000:d=9' " +
             (files[2] == 'o' && files[4] == 'g' ? "" : picture) + "-c:a " + codec + " " + files.substr(0, 5));
        for (const std::string keep : {"1.3-2.9,4.7-5.3,6.2-8", "0-1.3,4.7-8"})
            EXPECT_EQ(Report("cut " + files + " -y --verify --keep " + keep)["verify"]["good"], true) << keep;
    }
}

// Also a steady tone, in which no packet is like no other.
TEST_F(Verifying, LinearSamplesAreCutExactly)
{
    ASSERT_EQ(Run("tone a.wav --duration 4 --frequency 1000").status, 0);
    Make("ffmpeg -v error -i a.wav -c copy a.nut && ffmpeg -v error -i a.wav -c pcm_s24be a.mov");
    const std::string kept = "atrim=start_sample=48001:end_sample=62401,asetpts=N/SR/TB[a];[0]"
                             "atrim=start_sample=96000:end_sample=144000,asetpts=N/SR/TB[b];[a][b]concat=v=0:a=1";
    for (const std::string files : {"a.wav b.wav", "a.nut b.mkv", "a.mov b.mov", "a.wav b.mkv"})
    {
        EXPECT_EQ(Run("cut " + files + " -y --verify --keep 1.00002-1.30002,2-3").status, 0) << files;
        const auto samples = [&](const std::string& file, const std::string& filter)
        {
            return RunCommand("ffmpeg -v error -i " + file + " -filter_complex '[0]" + filter +
                              "' -c:a pcm_s24le -f md5 -")
                .out;
        };
        EXPECT_EQ(samples(files.substr(6), "anull"), samples(files.substr(0, 5), kept)) << files;
    }
}

// Frames of FLAC alone tell their times by numbers: those of a part begin at 0, and decoders check their sums.
TEST_F(Verifying, FramesOfFlacAreNumberedAnew)
{
    Make("ffmpeg -v error -f lavfi -i 'aevalsrc=random(0)*lt(mod(t\\,2)\\,1.5):s=8000' -t 900 -c:a flac -frame_size "
         "1024 "
         "a.flac");
    EXPECT_EQ(Run("cut a.flac b.flac --keep 700.3-704.1,3-4,880- --verify").status, 0);
    EXPECT_EQ(RunCommand("ffmpeg -v warning -err_detect crccheck+explode -i b.flac -f null - 2>&1").out, "");
    EXPECT_EQ(Ask("-show_entries format=start_time b.flac"), "0.000000 ");
    const double length = std::stod(Ask("-show_entries format=duration b.flac"));
    EXPECT_NEAR(length, 24.8, 3 * 0.128);
    // nothing is to be done where all frames stay
    ASSERT_EQ(Run("repack a.flac c.flac").status, 0);
    EXPECT_EQ(RunCommand("ffmpeg -v error -i c.flac -c copy -f md5 -").out,
              RunCommand("ffmpeg -v error -i a.flac -c copy -f md5 -").out);
}

// Sound is the same in every container: framed, split or counted.
TEST_F(Verifying, SoundIsKnownAgainInEveryContainer)
{
    const std::tuple<std::string, std::string, std::vector<std::string>> rows[] = {
        {"aac", "a.mp4", {"b.ts", "b.mkv", "b.aac", "b.mov"}},
        {"pcm_s16le", "a.wav", {"b.mkv", "b.avi", "b.mov", "b.wav"}},
        {"pcm_s16le", "a.mkv", {"b.avi", "b.mov"}},
        {"libmp3lame", "a.mkv", {"b.avi", "b.mp4", "b.mp3"}},
        {"libvorbis", "a.ogg", {"b.mkv", "b.ogg"}},
        {"adpcm_ima_wav -block_size 1024", "a.wav", {"b.wav"}},
    };
    for (const auto& [codec, source, outputs] : rows)
    {
        Make("ffmpeg -v error -y -f lavfi -i 'aevalsrc=random(0)*lt(mod(t\\,2)\\,1.5)' -t 12 -c:a " + codec + " " +
             source);
        for (const std::string& output : outputs)
        {
            SCOPED_TRACE(source + " " + output);
            const json verdict =
                Report("cut " + source + " " + output + " -y --verify --keep 0.7-1.9,3.03-3.04,8-10.5")["verify"];
            EXPECT_EQ(verdict["good"], true) << verdict;
            EXPECT_GE(verdict["tracks"][0]["expected_packets"], 20) << verdict;
        }
    }
}
