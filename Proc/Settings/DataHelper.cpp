#include "Proc/Settings/DataHelper.h"

#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "media/formats/IFormatCodecVideo.h"

#include <map>

namespace Tessor::Proc
{

namespace
{

void FillFrameRate(Core::Property& tree)
{
    tree.Add(Core::Property(Conf::IFormatCodecVideo::TAG_FPS, Core::Property::Ratio(25, 1)));
}

} // namespace

Core::Property CreateDataHelper(const std::string& classId, const std::string& name)
{
    static const std::map<std::string, void (*)(Core::Property&)> defaults = {
        {SettingsFilterFrameRate::TREE_CLASS_ID, FillFrameRate},
    };
    const auto found = defaults.find(classId);
    if (found == defaults.end())
        Throw<SettingsException>(TESSOR_HERE, "There is no default tree of " + classId);
    Core::Property tree(name);
    found->second(tree);
    return tree;
}

} // namespace Tessor::Proc
