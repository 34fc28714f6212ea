#pragma once

#include "Proc/Filters/Filters/FilterCutController.h"
#include "tests/support/Script.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace Tessor::Test
{

/// Intervals of ms.
using Ranges = std::vector<std::pair<int64_t, int64_t>>;

/// Settings that keep these and delete everything else.
inline Proc::SettingsFilterCutController Keep(const Ranges& ranges)
{
    Proc::SettingsFilterCutController settings;
    for (const auto& [start, end] : ranges)
        settings.AddInterval(start * ms, end * ms, NoTime, false);
    return settings;
}

inline SP<Proc::FilterCutController> Cutter(const Ranges& kept, SP<Proc::ICodecFactory> factory = nullptr)
{
    return Proc::FilterCutController::Create(Keep(kept), factory);
}

} // namespace Tessor::Test
