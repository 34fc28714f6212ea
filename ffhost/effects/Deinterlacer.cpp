#include "ffhost/effects/Deinterlacer.h"

#include "Fnd/Exception.h"
#include "media/FFmpegCompat.h"

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
    FFmpeg::SetInterlaced(*twin, false);
    twin->repeat_pict = 0; // repeated fields would tell the filter to leave the frame before alone
    runner.Push(std::move(record));
    runner.Push(std::move(twin));
    // The filter gives a frame once the next one has come: for the record the twin of the frame before, which nobody
    // wants, and for its twin the record. The first record of a chain gives nothing.
    FramePtr last;
    while (FramePtr next = runner.Pull())
        last = std::move(next);
    if (!last)
        Throw<Proc::EffectException>(TESSOR_HERE, "Filters \"" + runner.GetChain() + "\" gave no frame");
    frame = WrapFrame(std::move(last));
}

} // namespace Tessor::Host
