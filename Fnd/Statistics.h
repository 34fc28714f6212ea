#pragma once

#include "Fnd/Export.h"
#include "Fnd/Property/Property.h"

#include <string>

namespace Tessor::Core
{

/// One filter's record: a node named after the filter's tag with the children "time" (microseconds) and "count".
TESSOR_API Property MakeStatistics(const std::string& name, long long time, unsigned long count);

/// The empty root of a statistics tree, from which a source starts.
TESSOR_API Property GetRootItem();

/// The tag of a class's record: its GetStatistic operation's signature. `streamType` is the template argument of a
/// class template whose instance the record belongs to ("Tessor::Proc::IStreamAudio").
TESSOR_API std::string StatisticsTag(const std::string& className);
TESSOR_API std::string StatisticsTag(const std::string& className, const std::string& parameter,
                                     const std::string& streamType);

} // namespace Tessor::Core
