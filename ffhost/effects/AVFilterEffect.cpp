#include "ffhost/effects/AVFilterEffect.h"

namespace Tessor::Host
{

using namespace Proc;

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::Update()
{
    runner.SetChain(this->settings.graph);
}

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::ProcessItem(SP<Item>& item)
{
    if (!runner.GetChain().empty())
        runner.Process(item);
}

template class AVFilterEffect<IOneInputEffectVideo, IFactoryDataVideo>;
template class AVFilterEffect<IOneInputEffectAudio, IFactoryDataAudio>;

} // namespace Tessor::Host
