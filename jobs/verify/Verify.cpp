#include "jobs/verify/Verify.h"

#include "Fnd/Plural.h"
#include "ffhost/io/reading/Demuxer.h"
#include "jobs/TrackSelection.h"
#include "jobs/verify/PacketJudge.h"
#include "jobs/verify/PictureJudge.h"
#include "jobs/verify/PlainFile.h"

#include <algorithm>
#include <fmt/format.h>
#include <unordered_set>

namespace Tessor::Jobs
{

namespace
{

/// What rounding to ticks of a millisecond, once in each file, moves a packet by.
constexpr avTime rounding = 2 * MILLISECOND;

/// Of the progress: reading one file plainly takes little beside decoding both.
constexpr double plain_share = 0.05;

bool IsVideo(const Host::TrackInfo& info)
{
    return info.type == MediaType::Video && !info.attachedPicture;
}

long long CountCommon(const PlainTrack& a, const PlainTrack& b)
{
    std::unordered_set<uint64_t> known;
    for (const Host::PacketPrint& print : a.packets)
        known.insert(print.hash);
    return std::count_if(b.packets.begin(), b.packets.end(),
                         [&](const Host::PacketPrint& print) { return known.contains(print.hash); });
}

/// Tracks of two files that are each other's: those of a kind that have the most in common, and of equals the first,
/// for a file keeps the order of its tracks.
class Pairing
{
public:
    Pairing(const std::vector<PlainTrack>& source, const std::vector<PlainTrack>& output)
        : source(source), partners(source.size(), nullptr)
    {
        std::vector<Candidate> candidates;
        for (size_t s = 0; s < source.size(); ++s)
            for (const PlainTrack& track : output)
                if (std::string_view(KindName(track.info)) == KindName(source[s].info))
                    candidates.push_back({CountCommon(source[s], track), s, &track});
        std::stable_sort(candidates.begin(), candidates.end(),
                         [](const Candidate& a, const Candidate& b) { return a.common > b.common; });
        for (const Candidate& candidate : candidates)
            if (!partners[candidate.place] && !IsTaken(*candidate.track))
                partners[candidate.place] = candidate.track;
    }

    /// Null when there is none.
    const PlainTrack* GetPartner(size_t place) const { return partners[place]; }
    bool IsTaken(const PlainTrack& track) const
    {
        return std::find(partners.begin(), partners.end(), &track) != partners.end();
    }

    /// How much later than expected tracks of the output lie, as packets tell that occur once on either side; NoTime
    /// when there are none. Of pictures most have to: those that were encoded anew may by chance be packets of another
    /// place. The middle of all is taken, since single packets may be off by what their ticks round.
    avTime FindShift(bool video) const
    {
        std::vector<avTime> shifts;
        size_t packets = 0;
        for (size_t i = 0; i < source.size(); ++i)
        {
            if (!partners[i] || IsVideo(source[i].info) != video)
                continue;
            packets += source[i].packets.size();
            for (const auto& [expected, found] : PacketJudge::FindUnique(source[i].packets, partners[i]->packets))
                shifts.push_back(found - expected);
        }
        if (shifts.empty() || (video && shifts.size() < packets / 2))
            return NoTime;
        const auto middle = shifts.begin() + static_cast<std::ptrdiff_t>(shifts.size() / 2);
        std::nth_element(shifts.begin(), middle, shifts.end());
        return *middle;
    }

    /// How much later the first track begins that has packets on both sides.
    avTime CompareStarts() const
    {
        for (size_t i = 0; i < source.size(); ++i)
            if (partners[i] && !source[i].packets.empty() && !partners[i]->packets.empty())
                return SubTime(partners[i]->packets.front().time, source[i].packets.front().time);
        return NoTime;
    }

private:
    struct Candidate
    {
        long long common;
        size_t place; // of the source's track
        const PlainTrack* track;
    };

    const std::vector<PlainTrack>& source;
    std::vector<const PlainTrack*> partners; // of the source's tracks
};

/// How far a packet may lie from its place. Sound that is counted is kept within half a packet by who writes it; where
/// packets just follow each other each piece may be off by one more.
avTime ToleranceOf(const PlainTrack& output, const Host::MediaInfo& file, size_t pieces)
{
    const Host::TrackInfo& info = output.info;
    const avTime tick = info.timeBaseDen > 0 ? SECOND * info.timeBaseNum / info.timeBaseDen : 0;
    if (Host::PacketForm::IsCounted(info))
        return rounding + tick / 2;
    const avTime longest = output.longest;
    const bool countsPackets = info.type == MediaType::Audio && tick > rounding && tick >= longest / 2;
    // each piece begins with the next whole packet, which is up to one late
    if (countsPackets || (!output.linear && !Host::PacketForm::TellsTimes(file)))
        return rounding + std::max(tick, longest) * static_cast<avTime>(pieces);
    return std::max(rounding, tick);
}

/// Linear samples are kept or not by packets that have other bounds when reading begins elsewhere, and may be cut or
/// filled up at seams and in gaps.
LooseTime FindLooseSamples(const PlainTrack& track, const PlainTrack& partner, const KeptTime& kept)
{
    std::vector<Range> loose;
    const avTime reach = 3 * std::max(track.longest, partner.longest);
    loose.push_back({-MAX_DURATION, 0}); // what fills the time to a late start
    for (const avTime seam : kept.GetSeams())
        loose.push_back({seam - reach, seam + reach});
    for (size_t i = 1; i < track.packets.size(); ++i)
    {
        const avTime end = track.packets[i - 1].time + track.packets[i - 1].length;
        if (track.packets[i].time > end + rounding)
            loose.push_back({end - reach, track.packets[i].time + reach});
    }
    return {loose, loose};
}

/// Whole packets that are counted are put in where expected ones leave a hole, and left out where they overlap. Each
/// may lie off its place by half of one.
LooseTime FindLoosePackets(const PlainTrack& track)
{
    LooseTime loose;
    avTime end = -MAX_DURATION;
    for (const Host::PacketPrint& print : track.packets)
    {
        const avTime half = print.length / 2 + rounding;
        if (print.time > end + rounding)
            loose.putIn.push_back({end - half, print.time});
        if (print.time < end - rounding)
            loose.leftOut.push_back({end - print.length - rounding, end});
        end = print.time + print.length;
    }
    return loose;
}

LooseTime FindLooseTime(const PlainTrack& track, const PlainTrack& partner, const KeptTime& kept)
{
    if (track.linear)
        return FindLooseSamples(track, partner, kept);
    return Host::PacketForm::IsCounted(partner.info) ? FindLoosePackets(track) : LooseTime{};
}

/// Both files as they are read plainly, and what is found when they are held against each other. Nothing of the cut is
/// asked but its intervals: what cut the file must not tell whether it did so well.
class Verification
{
public:
    Verification(const Input& source, const Input& output, const KeptTime& kept, const std::vector<int>& carried,
                 const ExposedPictures& exposed, const IProgress& progress, const ReadProgress& reading)
        : pictures(source, output, kept, exposed, progress), kept(kept), reading(reading),
          expected(ReadPlainFile(source, progress, this->reading.BeginPass(plain_share), &kept).tracks),
          found(ReadPlainFile(output, progress, this->reading.BeginPass(2 * plain_share)))
    {
        std::erase_if(expected, [&](const PlainTrack& track)
                      { return std::find(carried.begin(), carried.end(), track.info.index) == carried.end(); });
    }

    VerifyReport Run()
    {
        const Pairing pairing(expected, found.tracks);
        shift = pairing.FindShift(true);
        const auto videos = std::count_if(expected.begin(), expected.end(),
                                          [](const PlainTrack& track) { return IsVideo(track.info); });
        for (size_t i = 0; i < expected.size(); ++i)
        {
            // video comes first, and tells it by its pictures where all packets are encoded anew
            if (shift == NoTime && !IsVideo(expected[i].info))
                SettleShift(pairing);
            if (IsVideo(expected[i].info))
                reading.BeginPass(2 * plain_share +
                                  (1 - 2 * plain_share) * static_cast<double>(i + 1) / static_cast<double>(videos));
            JudgeTrack(expected[i], pairing.GetPartner(i));
        }
        for (const PlainTrack& track : found.tracks)
            if (!pairing.IsTaken(track))
                report.faults.push_back(fmt::format("the output's track {} ({}) is none of the source's",
                                                    track.info.index, KindName(track.info)));
        if (std::none_of(report.tracks.begin(), report.tracks.end(), IsChecked))
            report.faults.emplace_back("nothing could be checked");
        return std::move(report);
    }

private:
    static bool IsChecked(const TrackVerdict& track)
    {
        return (track.pictures && track.pictures->expected > 0) || (track.packets && track.packets->expected > 0);
    }

    /// Without video. In silence and in a steady tone no packet occurs just once: then the output lies where it should,
    /// or is as late as its first packet.
    void SettleShift(const Pairing& pairing)
    {
        shift = pairing.FindShift(false);
        if (shift != NoTime)
            return;
        const avTime late = pairing.CompareStarts();
        const auto count = [&](avTime candidate)
        {
            shift = candidate;
            long long faults = 0;
            for (size_t i = 0; i < expected.size(); ++i)
                if (const PlainTrack* partner = pairing.GetPartner(i); partner && !IsVideo(expected[i].info))
                    faults += Compare(expected[i], *partner).CountFaults();
            return faults;
        };
        shift = late == NoTime || count(0) <= count(late) ? 0 : late;
    }

    void JudgeTrack(const PlainTrack& track, const PlainTrack* partner)
    {
        TrackVerdict verdict{track.info.index, KindName(track.info), track.info.codecName, {}, {}, {}};
        if (!partner)
            AddFault(verdict, "it is gone");
        else if (IsVideo(track.info))
            JudgeVideo(verdict, track, *partner);
        else
            JudgePackets(verdict, track, *partner);
        report.tracks.push_back(verdict);
    }

    void JudgeVideo(TrackVerdict& verdict, const PlainTrack& track, const PlainTrack& partner)
    {
        try
        {
            verdict.pictures = pictures.Judge(track.info.index, partner.info.index, shift, reading);
            shift = verdict.pictures->shift;
            verdict.packets = Compare(track, partner);
            AddFault(verdict, verdict.pictures->DescribeFaults());
            // what nobody can decode is lost where it had to be encoded anew
            if (verdict.pictures->damaged > 0 && verdict.packets->found < verdict.packets->expected)
                AddFault(verdict, fmt::format("{}, {} expected: the source is damaged",
                                              Count(verdict.packets->found, "packet"), verdict.packets->expected));
            // what no decoder shows is there as a packet all the same
            if (verdict.pictures->withheld > 0 && verdict.packets->found < verdict.packets->expected)
                AddFault(verdict, fmt::format("{}, {} expected", Count(verdict.packets->found, "packet"),
                                              verdict.packets->expected));
        }
        catch (const Proc::CodecFactoryException&)
        {
            // what no decoder takes can't have been encoded anew, either
            JudgePackets(verdict, track, partner);
        }
    }

    void JudgePackets(TrackVerdict& verdict, const PlainTrack& track, const PlainTrack& partner)
    {
        verdict.packets = Compare(track, partner);
        if (verdict.packets->expected == 0 && verdict.packets->found == 0)
            verdict.unchecked = "it has no packets";
        AddFault(verdict, verdict.packets->DescribeFaults());
    }

    PacketVerdict Compare(const PlainTrack& track, const PlainTrack& partner) const
    {
        const PacketJudge judge(shift == NoTime ? 0 : shift, ToleranceOf(partner, found.info, kept.GetRanges().size()),
                                FindLooseTime(track, partner, kept));
        return judge.Judge(track.packets, partner.packets);
    }

    void AddFault(const TrackVerdict& track, const std::string& fault)
    {
        if (!fault.empty())
            report.faults.push_back(fmt::format("track {} ({}, {}): {}", track.index, track.kind, track.codec, fault));
    }

    const PictureJudge pictures;
    const KeptTime kept;
    ReadProgress reading; // counts on from pass to pass
    std::vector<PlainTrack> expected;
    const PlainFile found;
    avTime shift = NoTime; // how much later than expected the whole output lies; NoTime where nothing tells
    VerifyReport report;   // as far as tracks have been judged
};

} // namespace

VerifyReport Verify(const Input& source, const Input& output, const KeptTime& kept, const std::vector<int>& tracks,
                    const ExposedPictures& exposed, const IProgress& progress, ReadProgress reading)
{
    return Verification(source, output, kept, tracks, exposed, progress, reading).Run();
}

} // namespace Tessor::Jobs
