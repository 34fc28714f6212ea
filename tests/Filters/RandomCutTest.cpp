#include "tests/Filters/CutTestTools.h"
#include "tests/Filters/ModelFile.h"

namespace Tessor::Test
{
namespace
{

using namespace Proc;

/// A generated file, cut, and what the definition says of it.
class CutRun
{
public:
    explicit CutRun(uint32_t seed) : dice(seed)
    {
        MakeTracks();
        MakeKept();
        controller = FilterCutController::Create(MakeSettings(), FakeCodecs::Create({{"X", {}}}));
        for (const SP<IStreamRaw>& source : file.Open())
            cuts.push_back(controller->AddStream(source));
        read.resize(cuts.size());
        expected.resize(cuts.size());
        file.failing = dice.OneIn(3) ? 50 : 0;
    }

    /// Reads all in some order, with seeks on the way.
    void Read()
    {
        SeekAll(0);
        for (int64_t seeks = aligned ? dice.Roll(0, 2) : 0; seeks > 0; --seeks)
        {
            ReadSome(dice.Roll(0, 150));
            SeekAll(dice.Roll(0, cuts.front()->GetDuration()));
        }
        ReadSome(INT64_MAX);
    }

    /// What differs from the definition; empty where nothing does. Each seek gives what its landing does, of which the
    /// next one may cut off the end.
    std::string Judge() const
    {
        for (size_t i = 0; i < cuts.size(); ++i)
            if (!Fits(i, 0, 0))
                return Describe(i);
        return "";
    }

private:
    void MakeTracks()
    {
        const avTime duration = dice.Roll(10, 60) * 1000 * ms;
        for (int64_t videos = dice.Roll(0, 2); videos > 0; --videos)
            file.tracks.push_back(ModelTrack::MakeVideo(dice, duration));
        for (int64_t sounds = dice.Roll(file.tracks.empty(), 2); sounds > 0; --sounds)
            file.tracks.push_back(ModelTrack::MakeSound(dice, duration));
        if (dice.OneIn(3))
            file.tracks.push_back(ModelTrack::MakeSubtitles(dice, duration));
        for (const ModelTrack& track : file.tracks)
            for (const ScriptItem& item : track.packets)
                file.duration = std::max(file.duration, AddTime(item.pts, item.duration));
        file.shared = dice.OneIn(2);
    }

    void MakeKept()
    {
        const bool exact =
            std::any_of(file.tracks.begin(), file.tracks.end(), [](const ModelTrack& t) { return t.recodable; });
        const avTime grid = exact || dice.OneIn(2) ? ModelTrack::picture : 1;
        const auto time = [&] { return dice.Roll(0, file.duration / ModelTrack::picture - 1) * ModelTrack::picture; };
        for (int64_t pieces = dice.Roll(1, dice.OneIn(3) ? 20 : 4); pieces > 0; --pieces)
        {
            const avTime start = time() + (grid == 1 ? dice.Roll(0, 200000) : 0);
            const avTime end = start + dice.Roll(1, dice.OneIn(2) ? 10 : 60) * ModelTrack::picture;
            file.kept.Add(start, end >= file.duration ? MAX_DURATION : end);
        }
        asked = file.kept;
        while (std::any_of(file.tracks.begin(), file.tracks.end(), [&](auto& t) { return t.Widen(file.kept); }))
        {
        }
        // Alone, a track may widen on the way.
        const bool open = file.tracks.front().open;
        aligned = file.tracks.size() > 1 || open || dice.OneIn(2);
    }

    SettingsFilterCutController MakeSettings() const
    {
        SettingsFilterCutController settings;
        for (const auto& [start, end] : (aligned ? file.kept : asked).pieces)
            settings.AddInterval(start, end, NoTime, false);
        return settings;
    }

    void SeekAll(avTime target)
    {
        const avTime sourceTarget = std::min(controller->GetIntervals()->Result2Source(target), file.duration);
        for (size_t i = 0; i < cuts.size(); ++i)
        {
            cuts[i]->RequestSeek(target, nullptr);
            expected[i].push_back(file.tracks[i].Cut(file.tracks[i].Land(sourceTarget), file.kept));
        }
        for (const SP<IStreamRaw>& cut : cuts)
            cut->DoSeek();
        ended.assign(cuts.size(), false);
        lastDts.assign(cuts.size(), NoTime);
    }

    void ReadSome(int64_t count)
    {
        const int64_t order = dice.Roll(0, 3);
        for (size_t turn = 0; count > 0 && !std::all_of(ended.begin(), ended.end(), std::identity()); ++turn, --count)
        {
            size_t i = turn % cuts.size(); // joint: one after the other
            if (order == 1)                // each to its end
                i = static_cast<size_t>(std::find(ended.begin(), ended.end(), false) - ended.begin());
            if (order == 2) // any
                i = static_cast<size_t>(dice.Roll(0, static_cast<int64_t>(cuts.size()) - 1));
            if (order == 3) // by DTS
                i = static_cast<size_t>(std::min_element(lastDts.begin(), lastDts.end()) - lastDts.begin());
            ReadOne(i);
        }
    }

    void ReadOne(size_t i)
    {
        try
        {
            const SP<IDataPacket> packet = ended[i] ? nullptr : cuts[i]->Read();
            if (!packet)
            {
                ended[i] = true;
                lastDts[i] = MAX_DURATION;
                return;
            }
            read[i].push_back(DescribeItem(*packet));
            read[i].back().value &= 0xFF;
            lastDts[i] = std::max(lastDts[i], packet->GetDTS());
        }
        catch (const FilterException& e)
        {
            ASSERT_EQ(Tessor::Describe(e), "scripted failure");
        }
    }

    /// Whether what was read from a place on is what that seek and those after it give.
    bool Fits(size_t track, size_t from, size_t seek) const
    {
        const Script& wanted = expected[track][seek];
        for (size_t n = 0;; ++n)
        {
            const size_t at = from + n;
            if (seek + 1 == expected[track].size() ? n == wanted.size() && at == read[track].size()
                                                   : Fits(track, at, seek + 1))
                return true;
            if (n == wanted.size() || at == read[track].size() || !IsSame(read[track][at], wanted[n]))
                return false;
        }
    }

    static bool IsSame(const ScriptItem& got, const ScriptItem& wanted)
    {
        return got.pts == wanted.pts && got.value == wanted.value && (wanted.dts == NoTime || got.dts == wanted.dts);
    }

    std::string Describe(size_t i) const
    {
        std::string text = "track " + std::to_string(i) + " of " + std::to_string(cuts.size()) + " " +
                           file.tracks[i].codec + (file.shared ? " shared" : "") + ", kept";
        for (const auto& [start, end] : file.kept.pieces)
            text += " " + PrintMs(start) + "-" + PrintMs(end);
        return text + "\nread   " + PrintScript(read[i], true) + "\nwanted " + PrintScript(expected[i].back(), true);
    }

    Dice dice;
    ModelFile file;
    KeptTime asked;
    bool aligned = true; // the cut is told what can be kept, and needn't find out
    SP<FilterCutController> controller;
    std::vector<SP<IStreamRaw>> cuts;
    std::vector<bool> ended;
    std::vector<avTime> lastDts;
    std::vector<Script> read;                  // all that was delivered of a track
    std::vector<std::vector<Script>> expected; // of a track, for each seek
};

TEST(RandomCut, WhatIsKeptIsThereOnceInItsPlace)
{
    for (uint32_t seed = 1; seed <= 2000; ++seed)
    {
        CutRun run(seed);
        run.Read();
        ASSERT_EQ(run.Judge(), "") << "seed " << seed;
    }
}

} // namespace
} // namespace Tessor::Test
