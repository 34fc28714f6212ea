#pragma once

#include "Proc/StreamTemplates/IStreamVideo.h"
#include "ffhost/streams/PartStream.h"

namespace Tessor::Host
{

/// Parts pictures by their times alone: each part shows the whole of it. Where a bound lies close to where one picture
/// ends and the next one begins, it means that place, and both are brought to it, so that no remainder of a picture
/// flashes up.
class TESSOR_API PictureParts final : public PartStream<Proc::IStreamVideo>
{
public:
    /// `bounds` in order.
    static SP<Proc::IStreamVideo> Create(const SP<Proc::IStreamVideo>& parent, const std::vector<avTime>& bounds);

private:
    PictureParts(const SP<Proc::IStreamVideo>& parent, const std::vector<avTime>& bounds);

    void Part(const SP<Proc::IDataVideo>& frame, std::deque<SP<Proc::IDataVideo>>& parts) override;
    /// The bound that the time is close to, or the time.
    avTime Snap(avTime time) const;
};

} // namespace Tessor::Host
