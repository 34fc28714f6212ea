#pragma once

#include "Proc/StreamTemplates/IStreamVideo.h"
#include "ffhost/GapLimit.h"
#include "ffhost/streams/Relay.h"

#include <atomic>

namespace Tessor::Host
{

/// Lets no picture stand for longer than the limit, for streams that are to be read in equal steps: by a wrong time
/// these would be without number. All that follows comes earlier by what is left out, and so does the end.
class TESSOR_API PictureGaps final : public Relay<Proc::IStreamVideo>
{
public:
    static SP<Proc::IStreamVideo> Create(const SP<Proc::IStreamVideo>& parent, const GapLimit& gaps);

private:
    PictureGaps(const SP<Proc::IStreamVideo>& parent, const GapLimit& gaps)
        : Relay(parent, "PictureGaps", FRAME_ALLOC_ANY), gaps(gaps)
    {
    }

    avTime GetDuration() const override { return SubTime(parentStream->GetDuration(), closed); }
    SP<Proc::IDataVideo> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override;

    const GapLimit gaps;
    std::atomic<avTime> closed{0}; // what was left out since the last seek; read by any thread for the length
};

} // namespace Tessor::Host
