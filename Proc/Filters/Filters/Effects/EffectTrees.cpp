#include "Proc/Filters/Filters/Effects/EffectTrees.h"

#include "Proc/Filters/Filters/FilterHelpers.h"

namespace Tessor::Proc
{

std::vector<Core::Property> SplitEffectsTree(const Core::Property& tree, const std::string& classId)
{
    CheckClassName(TESSOR_HERE, tree, classId);
    return {tree.begin(), tree.end()};
}

Core::Property JoinEffectsTree(const std::vector<Core::Property>& effects, const std::string& classId)
{
    Core::Property tree(classId);
    for (const Core::Property& effect : effects)
        tree.Add(effect);
    return tree;
}

} // namespace Tessor::Proc
