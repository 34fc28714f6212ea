#pragma once

#include "Proc/Settings/SettingsFilterCutController.h"

#include <optional>
#include <vector>

namespace Tessor::Host
{

/// The deleted stretches of a cut, as reading needs them. The first and the last one reach as far as time does.
class CutPlan
{
public:
    CutPlan() = default;
    explicit CutPlan(const Proc::SettingsFilterCutController& cut);

    struct Stretch
    {
        avTime start, end;
    };
    /// The deleted stretch that holds `time`.
    std::optional<Stretch> FindStretch(avTime time) const;
    /// Whether deleted time ends exactly there.
    bool IsKeptStart(avTime time) const;
    /// Whether all of [start, end) is deleted.
    bool IsDeleted(avTime start, avTime end) const;
    /// Whether some of [start, end) is deleted, and some is not.
    bool IsPartlyKept(avTime start, avTime end) const;

private:
    std::vector<Stretch> stretches; // in order
};

} // namespace Tessor::Host
