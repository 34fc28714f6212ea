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

void Deinterlacer::ProcessItem(SP<Proc::IDataVideo>& frame)
{
    if (!frame)
        return;
    FramePtr record = ShareFrame(*frame), twin = ShareFrame(*frame);
    twin->interlaced_frame = 0;
    twin->repeat_pict = 0; // repeated fields would tell the filter to leave the frame before alone
    runner.Push(std::move(record));
    runner.Push(std::move(twin));
    // What came out before is the twin of the frame before.
    frame = WrapFrame(runner.TakeLast());
}

} // namespace Tessor::Host
