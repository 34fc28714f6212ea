#include "Proc/Filters/Filters/Video/IFilterFrameRate.h"

namespace Tessor::Proc
{

Core::Property IFilterFrameRate::MakeSettings(const Core::Property::Ratio& frameRate)
{
    Core::Property tree(CLASS_ID);
    tree.Add(Core::Property(Conf::IFormatCodecVideo::TAG_FPS, frameRate));
    return tree;
}

} // namespace Tessor::Proc
