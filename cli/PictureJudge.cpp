#include "cli/PictureJudge.h"

#include "cli/Interrupt.h"
#include "cli/Pictures.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/io/Demuxer.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace Tessor::Cli
{

namespace
{

/// Pictures below this are no copy of their source, in dB.
constexpr double least_ratio = 30;

/// What the ticks of containers may move a picture by, in ms.
constexpr double time_tolerance = 5;

/// The decoded pictures of a track that lie in ranges, in order.
class KeptPictures
{
public:
    KeptPictures(const std::string& path, int track, const std::vector<Range>& ranges)
        : ranges(ranges), demuxer(Host::Demuxer::Open(path)),
          decoder(Host::CodecFactory::Create({.wanted = {}, .distinct = false})
                      ->CreateDecoder(demuxer->GetStream(track), ""))
    {
        if (!ranges.empty())
            Enter();
    }

    SP<Proc::IDataVideo> Next()
    {
        while (current < ranges.size())
        {
            const SP<Proc::IDataVideo> frame = decoder->Read();
            if (frame && frame->GetPTS() < ranges[current].end)
            {
                if (frame->GetPTS() >= ranges[current].start)
                    return frame;
                continue;
            }
            if (++current < ranges.size())
                Enter();
        }
        return nullptr;
    }

private:
    void Enter()
    {
        decoder->RequestSeek(ranges[current].start, nullptr);
        decoder->DoSeek();
    }

    const std::vector<Range> ranges;
    size_t current = 0; // the range that is being read
    const SP<Host::Demuxer> demuxer;
    const SP<Proc::IStreamVideo> decoder;
};

} // namespace

std::string PictureVerdict::DescribeFaults() const
{
    std::string text;
    const auto append = [&](const std::string& fault) { text += (text.empty() ? "" : "; ") + fault; };
    if (expected != found)
        append(fmt::format("{} pictures, {} expected", found, expected));
    else if (lowestRatio < least_ratio)
        append(fmt::format("a picture differs from its source: {:.1f} dB", lowestRatio));
    if (worstTimeErrorMs > time_tolerance)
        append(fmt::format("a picture lies {:.1f} ms off its place", worstTimeErrorMs));
    return text;
}

PictureVerdict PictureJudge::Judge(int sourceTrack, int outputTrack, avTime shift) const
{
    KeptPictures wanted(source, sourceTrack, kept.GetRanges());
    KeptPictures there(output, outputTrack, {{-MAX_DURATION, MAX_DURATION}}); // all of it, priming included
    PictureVerdict verdict;
    verdict.shift = shift;
    verdict.lowestRatio = std::numeric_limits<double>::infinity();
    for (;;)
    {
        ThrowIfInterrupted();
        const SP<Proc::IDataVideo> expected = wanted.Next();
        const SP<Proc::IDataVideo> found = there.Next();
        verdict.expected += expected != nullptr;
        verdict.found += found != nullptr;
        if (!expected && !found)
            return verdict;
        if (!expected || !found)
            continue;
        const double ratio = PictureRatio(*expected, *found);
        verdict.identical += std::isinf(ratio);
        verdict.lowestRatio = std::min(verdict.lowestRatio, ratio);
        const avTime off = SubTime(found->GetPTS(), kept.Find(expected->GetPTS()).value_or(NoTime));
        verdict.shift = verdict.shift == NoTime ? off : verdict.shift;
        verdict.worstTimeErrorMs = std::max(verdict.worstTimeErrorMs, std::abs(Seconds(off - verdict.shift)) * 1000);
    }
}

} // namespace Tessor::Cli
