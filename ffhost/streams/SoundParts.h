#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"
#include "ffhost/streams/PartStream.h"

#include <optional>

namespace Tessor::Host
{

/// Parts blocks of sound that abut at the samples nearest to the times, counted from the stream's first one: times of
/// blocks are rounded, and those after a seek are what the container has rounded once more. So the sound is not sought,
/// but read on to where it is wanted, or once more from its start.
class TESSOR_API SoundParts final : public PartStream<Proc::IStreamAudio>
{
public:
    /// `bounds` in order.
    static SP<Proc::IStreamAudio> Create(const SP<Proc::IStreamAudio>& parent, const std::vector<avTime>& bounds);

private:
    SoundParts(const SP<Proc::IStreamAudio>& parent, const std::vector<avTime>& bounds);

    SP<Proc::IDataAudio> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override;
    void DoSeekInternal() override;
    void Part(const SP<Proc::IDataAudio>& block, std::deque<SP<Proc::IDataAudio>>& parts) override;

    // Both are without a value from a seek to the next read.
    std::optional<avTime> reached;       // start of the last part delivered
    std::optional<long long> nextSample; // number of the one that the next block begins with
    bool stays = false;                  // the seek under way leaves the parent where it is
};

} // namespace Tessor::Host
