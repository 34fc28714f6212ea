#pragma once

#include "Proc/CodecParsers/Nal/Nalu.h"
#include "media/items/IBlob.h"
#include "media/items/IDataPacket.h"

#include <string>

/// Packets of H.264 and HEVC brought from one framing to the other. All functions are stateless and may be called from
/// any thread; packets that are converted in place belong to the caller alone.
namespace Tessor::Proc::CodecParsers
{

/// InplaceConvertMP4ToAnnexB for a packet, which is returned. Bytes that it shares with others are copied first, so
/// that those do not change. T is `IDataPacket` or `const IDataPacket`.
template <class T>
SP<T> InplaceConvertMP4ToAnnexB(SP<T> packet, size_t lengthSize);

/// The packet in Annex B form. Key packets get the parameter sets of the extradata in front, in a new packet; others
/// are converted in place when their length size is 3 or 4.
/// Throws std::logic_error "Invalid header size" on length size 0, else what InsertAnnexBHeader throws.
template <class T>
SP<T> Mp4toAnnexB(const SP<T>& packet, size_t lengthSize, const SP<const IBlob> extradata, const std::string& codecId);

/// A new packet in Annex B form with 4-byte start codes, headed by the parameter sets of the extradata when it is a key
/// packet. Any codec but Conf::IFormatCodecVideo::CODEC_ID_H264 counts as HEVC; null extradata counts as empty.
/// Throws what FindMP4Nalus and the extradata conversions throw, and Exception when memory is missing.
TESSOR_API SP<IDataPacket> InsertAnnexBHeader(const SP<const IDataPacket> packet, size_t lengthSize,
                                              const SP<const IBlob> extradata, const std::string& codecId);

/// A new packet in MP4 form without the empty units; null for null.
template <class T>
SP<T> AnnexBtoMp4(const SP<T>& packet, size_t lengthSize);

} // namespace Tessor::Proc::CodecParsers
