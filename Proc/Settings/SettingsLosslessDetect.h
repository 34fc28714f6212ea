#pragma once

#include "Proc/Settings/Settings.h"

#include <cstdint>

namespace Tessor::Proc
{

/// What FilterLosslessDetect looks for, and how many unknown times it bears.
class TESSOR_API SettingsLosslessDetect final : public Settings
{
public:
    inline static const std::string CLASS_ID = "SettingsLosslessDetect";

    enum DetectorFlags : uint32_t
    {
        DetectDtsOverPts = 1,      ///< a packet that is shown before it is decoded
        DetectNotIncresingDts = 2, ///< decoding times that don't rise
        DetectBadPts = 4,          ///< too many unknown presentation times
        DetectCRAinHEVC = 8,       ///< key frames of HEVC whose leading pictures refer to what lies before them
    };

    const std::string& GetClassId() const override { return CLASS_ID; }
    SettingsLosslessDetect* Clone() const override { return new SettingsLosslessDetect(*this); }
    bool IsEqualTo(const Settings& other) const override;

    uint32_t detectors = 0;           ///< mask of DetectorFlags
    uint64_t maxSequentialBadPts = 0; ///< unknown presentation times in a row that are still well
    uint64_t minPacketsPerBadPts = 0; ///< packets that there have to be for each unknown presentation time
};

} // namespace Tessor::Proc
