#pragma once

#include <string>

/// What the host keeps in a format's tree beside the library's own tags, so that encoders and muxers know the source.
namespace Tessor::Host::FormatTags
{

inline const std::string REORDER_DEPTH = "FFReorderDepth"; ///< int64, frames by which DTS runs ahead of PTS
inline const std::string FIELD_ORDER = "FFFieldOrder";     ///< int64, AVFieldOrder
inline constexpr long long FIELD_ORDER_PROGRESSIVE = 1;    ///< AV_FIELD_PROGRESSIVE
inline const std::string CONTAINER_ASPECT =
    "FFContainerAspect";                                       ///< int64, 1: the sample aspect is the container's word
inline const std::string COLOR_RANGE = "FFColorRange";         ///< int64, AVColorRange
inline const std::string COLOR_PRIMARIES = "FFColorPrimaries"; ///< int64, AVColorPrimaries
inline const std::string COLOR_TRANSFER = "FFColorTransfer";   ///< int64, AVColorTransferCharacteristic
inline const std::string COLOR_SPACE = "FFColorSpace";         ///< int64, AVColorSpace
inline const std::string CHROMA_LOCATION = "FFChromaLocation"; ///< int64, AVChromaLocation
inline const std::string LEVEL = "FFLevel";                    ///< int64, as AVCodecParameters has it
inline const std::string CODEC_ID = "FFCodecID";               ///< int64, AVCodecID
inline const std::string CODEC_TAG = "FFCodecTag";             ///< int64, the container's name of the codec
inline const std::string BLOCK_ALIGN = "FFBlockAlign";         ///< int64, bytes of a packet of sound; 0 for any
inline const std::string BITS_PER_CODED_SAMPLE = "FFBitsPerCodedSample"; ///< int64, of sound and palettes
/// string, why no foreign parameter sets can join the stream's header ("identifier 1 is taken"); empty or missing when
/// they can
inline const std::string REFUSE_RECODE = "RefuseRecode";

} // namespace Tessor::Host::FormatTags
