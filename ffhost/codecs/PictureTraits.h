#pragma once

#include "ffhost/codecs/AvCodec.h"

namespace Tessor::Host
{

/// What a format's tree says of all pictures of its stream beside their size: sample aspect, colours, fields.
///
/// A decoded picture says the same things of itself, and code that works on pictures should not have to ask both. Where
/// the two differ after a decoder:
///  - the aspect is the container's where that tells one, as FFmpeg's programs have it;
///  - the fields are the container's where the codec has no word for them;
///  - all else is the picture's, also size and pixel format, for a stream may change in the middle; what it leaves
///    open it takes from the format.
struct PictureTraits
{
    AVRational aspect{0, 1};      ///< 0:1 is unknown
    bool containerAspect = false; ///< the container tells it, not only the codec
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
    AVChromaLocation chroma = AVCHROMA_LOC_UNSPECIFIED;
    AVFieldOrder fields = AV_FIELD_UNKNOWN;
    bool containerFields = false; ///< the codec has no word for them

    static PictureTraits Of(const Core::Property& format);
    /// Tells a codec that is not open yet. How an encoder codes fields is its own matter.
    void ApplyTo(AVCodecContext& context) const;
    /// Makes a decoded picture say what its format says.
    void Settle(AVFrame& picture) const;
};

/// Tells a codec that is not open yet what a format's tree says of its pictures and their rate. What the tree leaves
/// open stays.
void ApplyPictureProperties(const Core::Property& format, AVCodecContext& context);

} // namespace Tessor::Host
