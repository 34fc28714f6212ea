#pragma once

#include "Fnd/Export.h"

#include <string>
#include <vector>

namespace Tessor::Proc::CodecParsers
{

/// The names of IFormatCodecVideo by the codes that headers have for them: the profile bits of
/// profile_and_level_indication (ISO/IEC 13818-2, 8.1, with the escape to 4:2:2 as 0).
TESSOR_API const std::vector<std::string>& GetMPEG2Profiles();

/// The same of MPEG-4: the high half of profile_and_level_indication (ISO/IEC 14496-2, annex G).
TESSOR_API const std::vector<std::string>& GetMPEG4Profiles();

} // namespace Tessor::Proc::CodecParsers
