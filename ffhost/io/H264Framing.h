#pragma once

#include "media/IBlob.h"
#include "media/IDataPacket.h"

namespace Tessor::Host
{

/// Brings the packets of an H.264 track into the framing of a container: length prefixes behind an `avcC` header, or
/// start codes (Annex B), there with parameter sets in front of every key packet that has none.
class TESSOR_API H264Framing
{
public:
    /// `extradata`: the track's header in either framing, null or empty when it has none; then packets stay as they
    /// are.
    H264Framing(const SP<const Proc::IBlob>& extradata, bool annexB);

    /// The header in the wanted framing.
    const SP<const Proc::IBlob>& GetExtradata() const { return wanted; }
    /// The packet in the wanted framing, with its own times and flags; never one that shares bytes it has changed.
    SP<Proc::IDataPacket> Convert(const SP<Proc::IDataPacket>& packet) const;

private:
    enum class Conversion
    {
        None,
        ToPrefixes,
        ToStartCodes,
        InsertHeader,
    };

    SP<const Proc::IBlob> source; // the header as the track has it
    SP<const Proc::IBlob> wanted; // the header as the container has it
    Conversion conversion = Conversion::None;
    size_t lengthSize = 0; // bytes of a length prefix, on whichever side has them
};

} // namespace Tessor::Host
