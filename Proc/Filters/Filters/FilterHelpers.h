#pragma once

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/NotImplemented.h"
#include "effects/IEffectFactory.h"

#include <stdexcept>
#include <string>

namespace Tessor::Proc
{

// What all filters do alike: the record of statistics and the checks of Initialize. SettingsCast lies with Settings.

/// The filter's record after what its parent reports: `time` in microseconds, `count` items delivered.
inline Core::Property AddStatistics(Core::Property upstream, const std::string& tag, long long time,
                                    unsigned long count)
{
    upstream.Add(Core::MakeStatistics(tag, time, count));
    return upstream;
}

/// Throws FilterException when a filter's tree is not named after its class. `what` begins the text.
inline void CheckClassName(const boost::source_location& where, const Core::Property& settings,
                           const std::string& classId, const std::string& what = "Filter")
{
    if (settings.GetName() != classId)
        Throw<FilterException>(where, what + " was initialized with incorrect class (" + settings.GetName() + ")!");
}

/// The factory, for a filter that can't do without. Throws std::invalid_argument for null.
inline const IEffectFactory& RequireFactory(const SP<const IEffectFactory>& effectFactory)
{
    if (!effectFactory)
        Throw<std::invalid_argument>(TESSOR_HERE, "effectFactory is NULL.");
    return *effectFactory;
}

} // namespace Tessor::Proc
