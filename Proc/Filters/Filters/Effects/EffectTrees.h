#pragma once

#include "Fnd/Property/Property.h"

#include <string>
#include <vector>

namespace Tessor::Proc
{

// The tree of a chain of effects: named after the filter, with the trees of the effects as its children, in order.

/// Throws FilterException for a tree of another name.
std::vector<Core::Property> SplitEffectsTree(const Core::Property& tree, const std::string& classId);
Core::Property JoinEffectsTree(const std::vector<Core::Property>& effects, const std::string& classId);

} // namespace Tessor::Proc
