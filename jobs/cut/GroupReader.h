#pragma once

#include "jobs/cut/Groups.h"

namespace Tessor::Jobs
{

/// Finds single groups of a compressed video stream.
class TESSOR_API GroupReader
{
public:
    explicit GroupReader(const SP<Proc::IStreamRaw>& stream) : stream(stream) {}

    /// The group that shows what is seen at the time; the last one after the end. Moves the stream.
    Group Find(avTime time);
    /// The same, but reads on from the group that was found last, where that is near enough to save a seek. Nobody else
    /// may have moved the stream since then.
    Group FindOnward(avTime time);

private:
    bool IsNear(avTime time) const;
    Group ReadTo(avTime time);

    const SP<Proc::IStreamRaw> stream;
    SP<Proc::IDataPacket> ahead; // the key picture that ended the group found last, as long as the stream stands there
};

} // namespace Tessor::Jobs
