#pragma once

#include <string>

namespace Tessor::Host
{

/// What libavformat's writer of QuickTime files calls a language of ISO 639-2: these have Macintosh language codes, of
/// which there are not as many. Empty where it knows none, and would write nothing.
std::string NameQuickTimeLanguage(const std::string& code);

} // namespace Tessor::Host
