#pragma once

#include "ffhost/bitstream/PacketForm.h"
#include "jobs/Times.h"
#include "jobs/verify/PacketVerdict.h"

#include <vector>

namespace Tessor::Jobs
{

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
