#include "jobs/verify/PictureJudge.h"

#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/streams/Tap.h"
#include "jobs/InputFile.h"
#include "jobs/SeekTo.h"
#include "jobs/verify/Pictures.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace Tessor::Jobs
{

namespace
{

/// How far decoders move a picture that would begin together with the one before, in microseconds.
constexpr avTime longest_step_aside = 16;

/// Whether a decoder need not start anew between two pictures.
bool AreAlike(const Proc::IDataVideo& a, const Proc::IDataVideo& b)
{
    return a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight() && a.GetPixFmt() == b.GetPixFmt() &&
           a.IsInterlaced() == b.IsInterlaced();
}

/// The decoded pictures of a track that lie in ranges, in order, with those of the hidden ones that are exposed.
class KeptPictures
{
public:
    using IsExposed = std::function<bool(avTime)>;

    KeptPictures(const SP<Host::Demuxer>& demuxer, int track, const std::vector<Range>& ranges,
                 const IsExposed& isExposed = nullptr)
        : ranges(ranges), demuxer(demuxer), isExposed(isExposed),
          decoder(Host::CodecFactory::Create({.wanted = {}, .distinct = false})->CreateDecoder(OpenTrack(track), ""))
    {
        if (!ranges.empty())
            Enter();
    }

    SP<Proc::IDataVideo> Next()
    {
        while (current < ranges.size())
        {
            const SP<Proc::IDataVideo> frame = decoder->Read();
            if (frame && IsUncovered(frame->GetPTS()))
                return frame;
            if (frame && frame->GetPTS() < ranges[current].end)
            {
                if (frame->GetPTS() >= ranges[current].start)
                    return frame;
                continue; // decoders begin with a picture that a range only cuts through
            }
            if (++current < ranges.size())
                Enter();
        }
        return nullptr;
    }

    /// What the decoder has counted under that name so far.
    long long GetCount(const std::string& name) const
    {
        const Core::Property records = decoder->GetStatistic(); // its own comes last
        return (*std::prev(records.end()))[name].GetInt64();
    }

private:
    SP<Proc::IStreamRaw> OpenTrack(int track)
    {
        const SP<Proc::IStreamRaw> stream = demuxer->GetStream(track);
        if (!isExposed)
            return stream;
        return Host::Tap<Proc::IStreamRaw>::Create(stream,
                                                   [this](const SP<Proc::IDataPacket>& packet) { Uncover(*packet); });
    }

    /// Takes away the mark by which decoders hide a picture.
    void Uncover(Proc::IDataPacket& packet)
    {
        // copies that share the packet's bytes have flags of their own
        int& flags = packet.GetAVPacket()->flags;
        if ((flags & AV_PKT_FLAG_DISCARD) == 0 || !isExposed(packet.GetPTS()))
            return;
        flags &= ~AV_PKT_FLAG_DISCARD;
        uncovered.insert(packet.GetPTS());
    }

    bool IsUncovered(avTime time) const
    {
        const auto next = uncovered.upper_bound(time);
        return next != uncovered.begin() && time - *std::prev(next) < longest_step_aside;
    }

    void Enter() { SeekTo(*decoder, ranges[current].start); }

    const std::vector<Range> ranges;
    size_t current = 0; // the range that is being read
    const SP<Host::Demuxer> demuxer;
    const IsExposed isExposed;            // null: nothing is
    std::set<avTime> uncovered;           // times of hidden pictures that the decoder was made to show
    const SP<Proc::IStreamVideo> decoder; // last: its packets pass what is above
};

/// The pictures of two sides that belong to each other, by their order. Where size or fields change, decoders drop the
/// picture that waits for its turn to be shown, and a seek between the two spares it: such a picture may be on one side
/// only, one at each change.
class PicturePairs
{
public:
    PicturePairs(KeptPictures& wanted, KeptPictures& there) : wanted(wanted), there(there) {}

    /// False when both sides are at their end.
    bool Next()
    {
        const SP<Proc::IDataVideo> before = expected && found && AreAlike(*expected, *found) ? found : nullptr;
        expected = wanted.Next();
        found = there.Next();
        if (before && expected && found && !AreAlike(*expected, *found) &&
            PictureRatio(*expected, *found) < PictureVerdict::LEAST_RATIO)
            PassWithheld(*before);
        return expected || found;
    }
    const SP<Proc::IDataVideo>& GetExpected() const { return expected; }
    const SP<Proc::IDataVideo>& GetFound() const { return found; }
    long long GetWithheld() const { return withheld; }

private:
    void PassWithheld(const Proc::IDataVideo& before)
    {
        const bool foundChanged = AreAlike(*expected, before);
        if (!foundChanged && !AreAlike(*found, before))
            return;
        (foundChanged ? expected : found) = (foundChanged ? wanted : there).Next();
        ++withheld;
    }

    KeptPictures &wanted, &there;
    SP<Proc::IDataVideo> expected, found; // the pair of the last Next
    long long withheld = 0;               // passed so far
};

} // namespace

PictureVerdict PictureJudge::Judge(int sourceTrack, int outputTrack, avTime shift, ReadProgress& reading) const
{
    const auto known = exposed.find(sourceTrack);
    const auto isExposed = [&](avTime time)
    {
        const std::optional<avTime> place = kept.Find(time);
        return place && std::find(known->second.begin(), known->second.end(), *place) != known->second.end();
    };
    const bool any = known != exposed.end() && !known->second.empty();
    KeptPictures wanted(OpenInput(source, progress), sourceTrack, kept.GetRanges(),
                        any ? KeptPictures::IsExposed(isExposed) : nullptr);
    KeptPictures there(OpenInput(output, progress), outputTrack,
                       {{-MAX_DURATION, MAX_DURATION}}); // all of it, priming included
    PictureVerdict verdict;
    verdict.shift = shift;
    verdict.lowestRatio = std::numeric_limits<double>::infinity();
    for (PicturePairs pairs(wanted, there); pairs.Next();)
    {
        const SP<Proc::IDataVideo>& expected = pairs.GetExpected();
        const SP<Proc::IDataVideo>& found = pairs.GetFound();
        verdict.expected += expected != nullptr;
        verdict.found += found != nullptr;
        verdict.withheld = pairs.GetWithheld();
        if (expected)
            reading.Reach(expected->GetPTS());
        if (!expected || !found)
            continue;
        const double ratio = PictureRatio(*expected, *found);
        verdict.identical += std::isinf(ratio);
        verdict.lowestRatio = std::min(verdict.lowestRatio, ratio);
        const avTime off = SubTime(found->GetPTS(), kept.Find(expected->GetPTS()).value_or(NoTime));
        // a container may move the whole file, but not one picture against another
        verdict.shift = verdict.shift == NoTime ? off : verdict.shift;
        verdict.worstTimeErrorMs = std::max(verdict.worstTimeErrorMs, std::abs(Seconds(off - verdict.shift)) * 1000);
    }
    verdict.disordered = there.GetCount("Disordered");
    verdict.damaged = wanted.GetCount("Damaged");
    return verdict;
}

} // namespace Tessor::Jobs
