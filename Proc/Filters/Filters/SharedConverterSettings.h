#pragma once

#include "Proc/Settings/SettingsColorspaceConverter.h"

namespace Tessor::Proc
{

/// What deinterlacing and border blur work in: planar YUV of 8 bits without alpha, NV12, and RGB of four bytes. Formats
/// with alpha come to RGBA.
const SettingsColorspaceConverter& GetSharedConverterSettings();

} // namespace Tessor::Proc
