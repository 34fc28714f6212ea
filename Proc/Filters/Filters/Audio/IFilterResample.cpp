#include "Proc/Filters/Filters/Audio/IFilterResample.h"

#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Settings/SettingsResample.h"

namespace Tessor::Proc
{

Core::Property IFilterResample::Settings2Property(const SettingsFilterResample& settings)
{
    SettingsResample engine;
    static_cast<ResampleOutput&>(engine) = settings;
    Core::Property tree(CLASS_ID);
    tree.Add(engine.ToProperty());
    return tree;
}

SettingsFilterResample IFilterResample::Property2Settings(const Core::Property& tree)
{
    CheckClassName(TESSOR_HERE, tree, CLASS_ID);
    SettingsResample engine;
    engine.FromProperty(tree[SettingsResample::CLASS_ID]);
    SettingsFilterResample settings;
    static_cast<ResampleOutput&>(settings) = engine;
    return settings;
}

} // namespace Tessor::Proc
