#pragma once

#include "ffhost/bitstream/PacketForm.h"
#include "jobs/Times.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// How the packets of a track that were found compare with those that were expected.
struct TESSOR_API PacketVerdict
{
    long long expected = 0, found = 0;
    long long identical = 0; ///< found that carry what an expected one does, wherever they lie
    long long doubled = 0;   ///< found once more often than expected
    long long missing = 0;   ///< expected that were not found
    long long misplaced = 0; ///< found elsewhere than expected
    long long foreign = 0;   ///< found that carry something else than every expected one
    long long adjusted = 0;  ///< left out or put in where that is allowed
    double worstTimeErrorMs = 0;

    long long CountFaults() const { return doubled + missing + misplaced + foreign; }
    /// "of 423 packets 3 missing, 1 doubled"; empty when all is as expected.
    std::string DescribeFaults() const;
};

/// Where packets may be adjusted, in the time of the expected ones.
struct LooseTime
{
    std::vector<Range> leftOut; ///< expected ones that begin there may be missing
    std::vector<Range> putIn;   ///< what is found there may be more than is expected
};

/// Holds packets against each other by what they carry and by their place. Packets that carry the same, like silence,
/// are taken for the ones that lie where they do.
class PacketJudge
{
public:
    /// `shift`: how much later than expected the whole file lies. `tolerance`: how far a packet may lie from its place.
    PacketJudge(avTime shift, avTime tolerance, LooseTime loose)
        : shift(shift), tolerance(tolerance), loose(std::move(loose))
    {
    }

    PacketVerdict Judge(std::vector<Host::PacketPrint> expected, std::vector<Host::PacketPrint> found) const;

    /// Expected and found times of what is there once on either side.
    static std::vector<std::pair<avTime, avTime>> FindUnique(std::vector<Host::PacketPrint> expected,
                                                             std::vector<Host::PacketPrint> found);

private:
    using Times = std::vector<avTime>;

    void JudgeEqual(const Times& expected, const Times& found, PacketVerdict& verdict) const;

    const avTime shift, tolerance;
    const LooseTime loose;
};

} // namespace Tessor::Jobs
