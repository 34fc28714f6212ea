#pragma once

#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/reading/SourceFile.h"

namespace Tessor::Host
{

/// Gives the tracks of AAC that nothing but their ADTS frames describes (ISO/IEC 14496-3, 1.A.2.2) a header: that of
/// the first frame, with its PCE, which writers often put nowhere else. Afterwards the file is rewound and nothing is
/// selected.
void FindAdtsHeaders(SourceFile& file, MediaInfo& info);

} // namespace Tessor::Host
