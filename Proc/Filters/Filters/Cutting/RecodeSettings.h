#pragma once

#include "Fnd/Property/Property.h"
#include "Proc/StreamTemplates/IStreamRaw.h"

namespace Tessor::Proc
{

/// What the beginning of a stream tells about its times.
struct StreamSettings
{
    avTime dtsShift = 0;     ///< PTS - DTS of a key frame after the first, 0 if unknown
    bool invalidPts = false; ///< a packet has no PTS
    bool openGop = false;    ///< a picture is shown before the key frame that was read before it
};

/// Reads up to the third key frame. Does not seek back.
void SearchStreamSettings(const SP<IStreamRaw>& source, StreamSettings& settings);

/// The bytes of a codec's header; null counts as empty.
struct HeaderBytes
{
    explicit HeaderBytes(const SP<const IBlob>& blob)
        : data(blob ? blob->Data() : nullptr), size(blob ? blob->Size() : 0)
    {
    }
    bool Exist() const { return size != 0; }

    const uint8_t* const data;
    const size_t size;
};

/// Makes an encoder produce what the stream has: bit rate, profile, level, and for H.264 the coding tools of its
/// parameter sets. `recodeFormat` is the format given to encoders; new parameter sets take the identifier `psId`.
void TryToRecoverAdditionalSettings(const Conf::IFormatCodec& sourceFormat, Core::Property& recodeFormat, uint32_t psId,
                                    bool hasDtsShift);

} // namespace Tessor::Proc
