#include "ffhost/effects/Deinterlacer.h"

namespace Tessor::Host
{

Deinterlacer::Deinterlacer(const SP<const Proc::IFactoryDataVideo>& data) : EffectBaseOneInput(data)
{
    runner.KeepPixelFormat();
    Update();
}

void Deinterlacer::Update()
{
    std::string name = "yadif";
    if (settings.method == Proc::SettingsDeinterlace::Method::Bwdif)
        name = "bwdif";
    runner.SetChain(name + "=mode=send_frame:parity=auto:deint=interlaced");
}

} // namespace Tessor::Host
