#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/MediaInfo.h"
#include "media/DataPacketFF.h"

namespace Tessor::Host
{

/// Takes the key flag from pictures of H.264 where an intra refresh merely begins: a decoder that starts there shows
/// damage until recovery_frame_cnt pictures have passed (ITU-T H.264, D.2.8), but containers flag them like any key
/// picture. Other codecs are left alone.
class TESSOR_API H264RecoveryPoints
{
public:
    explicit H264RecoveryPoints(const TrackInfo& track);

    /// To be given every packet of the track. Packets that can't be read stay as they are.
    void Check(const SP<Proc::DataPacketFF>& packet);
    /// The file was moved. From its beginning on the first flagged picture stays one, as nothing better comes before.
    void Reset(bool atStart) { first = atStart; }

private:
    bool IsRefresh(const SP<Proc::DataPacketFF>& packet) const;

    bool applies = false;
    size_t lengthSize = 0; // of the units in packets, 0: start codes
    bool first = true;
};

} // namespace Tessor::Host
