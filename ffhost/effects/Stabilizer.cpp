#include "ffhost/effects/Stabilizer.h"

#include "ffhost/effects/PlainFormats.h"

namespace Tessor::Host
{

Stabilizer::Stabilizer(const SP<const Proc::IFactoryDataVideo>& data) : EffectBaseOneInput(data), plain(data)
{
    plain.Initialise(GetPlainFormats());
    runner.KeepPixelFormat();
    Update();
}

void Stabilizer::ReleaseInternalData()
{
    plain.ReleaseInternalData();
    runner.Reset();
}

void Stabilizer::Update()
{
    // The settings number the edges as the filter does.
    runner.SetChain("deshake=rx=" + std::to_string(settings.horizontal) + ":ry=" + std::to_string(settings.vertical) +
                    ":edge=" + std::to_string(static_cast<int>(settings.edge)));
}

void Stabilizer::ProcessItem(SP<Proc::IDataVideo>& frame)
{
    plain.Process(frame);
    runner.Process(frame);
}

} // namespace Tessor::Host
