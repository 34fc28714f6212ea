#include "ffhost/effects/Stabilizer.h"

namespace Tessor::Host
{

Stabilizer::Stabilizer(const SP<const Proc::IFactoryDataVideo>& data) : EffectBaseOneInput(data)
{
    runner.KeepPixelFormat();
    Update();
}

void Stabilizer::Update()
{
    // The edges have the numbers of the filter's own.
    runner.SetChain("deshake=rx=" + std::to_string(settings.horizontal) + ":ry=" + std::to_string(settings.vertical) +
                    ":edge=" + std::to_string(static_cast<int>(settings.edge)));
}

} // namespace Tessor::Host
