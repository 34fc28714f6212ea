#pragma once

#include <string>

namespace Tessor::Proc::ImplNames
{

/// Names of implementations, stable: hosts store them. DEFAULT resolves to TESSOR where that is registered, otherwise
/// to the first one registered.
inline const std::string TESSOR = "Tessor";
inline const std::string DEFAULT = "Default";
inline const std::string FFMPEG = "FFmpeg";
inline const std::string OGL = "OGL";
inline const std::string INTEL_MEDIA_HW = "IntelMediaHW";
inline const std::string MEDIA_FOUNDATION = "MediaFoundation";

} // namespace Tessor::Proc::ImplNames
