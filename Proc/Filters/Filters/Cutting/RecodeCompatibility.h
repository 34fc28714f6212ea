#pragma once

#include "media/formats/IFormatCodec.h"

namespace Tessor::Proc
{

/// Whether an encoder's packets can stand beside the source's: what their headers say agrees where it matters. A fault
/// in a header is logged; it counts as no, but for H.264, where what could be decoded is compared.
bool CheckFormatCompatibility(const Conf::IFormatCodec& sourceFormat, const Conf::IFormatCodec& encoderFormat);

} // namespace Tessor::Proc
