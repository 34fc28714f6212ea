#include "jobs/verify/PacketJudge.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>

namespace Tessor::Jobs
{

namespace
{

using Host::PacketPrint;

/// By what they carry, so that all of a hash lie side by side, and those by time.
void Sort(std::vector<PacketPrint>& prints)
{
    std::sort(prints.begin(), prints.end(),
              [](const PacketPrint& a, const PacketPrint& b)
              { return std::tie(a.hash, a.time) < std::tie(b.hash, b.time); });
}

/// The times of the prints of that hash that `next` begins with, which then moves on.
std::vector<avTime> TakeTimes(std::vector<PacketPrint>::const_iterator& next,
                              std::vector<PacketPrint>::const_iterator end, uint64_t hash)
{
    std::vector<avTime> times;
    for (; next != end && next->hash == hash; ++next)
        times.push_back(next->time);
    return times;
}

/// Calls back with the times, in order, that each hash has on either side.
template <class Callback>
void ForEachHash(std::vector<PacketPrint> expected, std::vector<PacketPrint> found, Callback callback)
{
    Sort(expected);
    Sort(found);
    auto e = expected.cbegin(), f = found.cbegin();
    while (e != expected.cend() || f != found.cend())
    {
        const uint64_t hash = f == found.cend() ? e->hash : e == expected.cend() ? f->hash : std::min(e->hash, f->hash);
        const std::vector<avTime> wanted = TakeTimes(e, expected.cend(), hash);
        callback(wanted, TakeTimes(f, found.cend(), hash));
    }
}

/// How much later than expected; what stands for the whole file has no time on either side.
avTime OffBy(avTime expected, avTime found, avTime shift)
{
    if (expected == NoTime || found == NoTime)
        return expected == found ? 0 : MAX_DURATION;
    return found - expected - shift;
}

bool IsIn(const std::vector<Range>& ranges, avTime time)
{
    return std::any_of(ranges.begin(), ranges.end(),
                       [=](const Range& range) { return time >= range.start && time < range.end; });
}

/// Takes out times that lie in loose ones, `most` at most, and tells how many.
size_t TakeLoose(std::vector<avTime>& times, size_t most, avTime shifted, const std::vector<Range>& loose)
{
    size_t taken = 0;
    std::erase_if(times,
                  [&](avTime time)
                  {
                      const bool take = taken < most && time != NoTime && IsIn(loose, time - shifted);
                      taken += take;
                      return take;
                  });
    return taken;
}

} // namespace

PacketVerdict PacketJudge::Judge(std::vector<PacketPrint> expected, std::vector<PacketPrint> found) const
{
    PacketVerdict verdict;
    verdict.expected = static_cast<long long>(expected.size());
    verdict.found = static_cast<long long>(found.size());
    ForEachHash(std::move(expected), std::move(found),
                [&](const Times& wanted, const Times& there) { JudgeEqual(wanted, there, verdict); });
    return verdict;
}

// Two rising lists are merged: times that are near enough are a pair, and what is left over on both sides has moved.
// Only what is left over on one side alone can be loose, or a packet that lies elsewhere would pass for an adjustment.
void PacketJudge::JudgeEqual(const Times& expected, const Times& found, PacketVerdict& verdict) const
{
    Times absent, surplus;
    for (size_t e = 0, f = 0; e < expected.size() || f < found.size();)
    {
        const avTime off = e == expected.size() ? -MAX_DURATION
                           : f == found.size()  ? MAX_DURATION
                                                : OffBy(expected[e], found[f], shift);
        if (std::abs(off) <= tolerance)
            verdict.worstTimeErrorMs = std::max(verdict.worstTimeErrorMs, std::abs(Seconds(off)) * 1000);
        if (off < -tolerance)
            surplus.push_back(found[f]);
        if (off > tolerance)
            absent.push_back(expected[e]);
        e += off >= -tolerance;
        f += off <= tolerance;
    }
    const size_t moved = std::min(absent.size(), surplus.size());
    verdict.adjusted += static_cast<long long>(TakeLoose(absent, absent.size() - moved, 0, loose.leftOut) +
                                               TakeLoose(surplus, surplus.size() - moved, shift, loose.putIn));
    for (size_t i = 0; i < moved; ++i)
        verdict.worstTimeErrorMs =
            std::max(verdict.worstTimeErrorMs, std::abs(Seconds(OffBy(absent[i], surplus[i], shift))) * 1000);
    verdict.misplaced += static_cast<long long>(moved);
    verdict.missing += static_cast<long long>(absent.size() - moved);
    verdict.identical += expected.empty() ? 0 : static_cast<long long>(found.size());
    (expected.empty() ? verdict.foreign : verdict.doubled) += static_cast<long long>(surplus.size() - moved);
}

std::vector<std::pair<avTime, avTime>> PacketJudge::FindUnique(std::vector<PacketPrint> expected,
                                                               std::vector<PacketPrint> found)
{
    std::vector<std::pair<avTime, avTime>> unique;
    ForEachHash(std::move(expected), std::move(found),
                [&](const Times& wanted, const Times& there)
                {
                    if (wanted.size() == 1 && there.size() == 1 && wanted[0] != NoTime && there[0] != NoTime)
                        unique.emplace_back(wanted[0], there[0]);
                });
    return unique;
}

} // namespace Tessor::Jobs
