#pragma once

#include "Fnd/Exception.h"
#include "host/ImplNames.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Tessor::Host
{

/// What is registered for one purpose.
struct RegistryEntry
{
    std::string kind;                         ///< "video filter", "audio effect", "seek controller"
    std::string classId;                      ///< of the settings; empty for what takes none
    std::vector<std::string> implementations; ///< in order of registration
};

/// What DEFAULT stands for, or an empty name.
enum class DefaultImplementation
{
    Own,   ///< the library's own, where there is one, otherwise the first
    First, ///< the first
};

/// The place of the name among those of an entry. Throws E for a name that is not there.
template <class E>
size_t FindImplementation(const RegistryEntry& entry, const std::string& name, DefaultImplementation standard)
{
    const std::vector<std::string>& names = entry.implementations;
    const bool isDefault = name.empty() || name == Proc::ImplNames::DEFAULT;
    auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end() && isDefault && standard == DefaultImplementation::Own)
        found = std::find(names.begin(), names.end(), Proc::ImplNames::TESSOR);
    if (found == names.end() && isDefault)
        found = names.begin();
    if (found == names.end())
    {
        const std::string what = entry.classId.empty() ? entry.kind : entry.kind + " " + entry.classId;
        const std::string which = isDefault ? "No implementation" : "No implementation \"" + name + "\"";
        Throw<E>(TESSOR_HERE, which + " of " + what);
    }
    return static_cast<size_t>(found - names.begin());
}

} // namespace Tessor::Host
