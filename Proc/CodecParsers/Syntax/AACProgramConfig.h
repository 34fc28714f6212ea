#pragma once

#include "Fnd/DataBitInput.h"
#include "Fnd/DataBitOutput.h"
#include "media/items/IBlob.h"

/// The program config element (PCE) of ISO/IEC 14496-3, 4.4.1.1: the channels of a stream that has none of the standard
/// channel configurations. It can begin at any bit and holds a byte alignment inside, so that its bits are not
/// the same everywhere.
namespace Tessor::Proc::CodecParsers
{

/// Identifier of the element in a raw data block, 3 bits.
inline constexpr uint32_t AAC_ID_PCE = 5;

/// Whether a raw data block begins with a PCE.
TESSOR_API bool HasPCE(const uint8_t* data, size_t size);

/// Reads a PCE, without its identifier, from where the input stands. Its alignment counts from where the input began,
/// which must be the start of the raw data block or of the AudioSpecificConfig. The blob holds the element as it stands
/// at the start of a byte. Throws Core::IOException when the data ends within it.
TESSOR_API SP<const IBlob> CopyPCEData(Core::DataBitInput& input);

/// Writes what CopyPCEData gave, aligned anew: the output must have begun where the alignment counts from. Bits that
/// only fill a byte come out as zeros. Throws Core::IOException for a blob that is no whole element.
void WritePCEData(const IBlob& pce, Core::DataBitOutput& output);

/// The PCE that begins at that bit of an AudioSpecificConfig. Throws Core::IOException "Invalid PCE data" when the data
/// ends before it does.
TESSOR_API SP<const IBlob> ExtractPCEFromASCExtradata(const uint8_t* data, size_t size, Core::ioSize bitPosition);

} // namespace Tessor::Proc::CodecParsers
