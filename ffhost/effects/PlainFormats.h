#pragma once

#include "Proc/Settings/SettingsColorspaceConverter.h"

namespace Tessor::Host
{

/// Settings of a converter for effects that work on components: pictures of plain components (PictureView) stay as they
/// are, others (palettes, packed and shifted ones) are converted to the plain format that keeps their depth, chroma and
/// alpha.
const Proc::SettingsColorspaceConverter& GetPlainFormats();

} // namespace Tessor::Host
