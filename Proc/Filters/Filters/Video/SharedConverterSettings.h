#pragma once

#include "Proc/Settings/SettingsColorspaceConverter.h"

namespace Tessor::Proc
{

/// What deinterlacing and border blur work in: planes without alpha, of any depth, so that pictures which need no work
/// are not converted; and RGB of four bytes. Formats with alpha come to RGBA.
const SettingsColorspaceConverter& GetSharedConverterSettings();

} // namespace Tessor::Proc
