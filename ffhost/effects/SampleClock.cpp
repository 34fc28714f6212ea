#include "ffhost/effects/SampleClock.h"

namespace Tessor::Host
{

void SampleClock::Stamp(Proc::IDataAudio& block, avTime claimed)
{
    // The source's time is believed at the start and after a gap; otherwise samples count, whose times do not jitter.
    const avTime offset = SubTime(claimed, time.GetTime());
    if (claimed != NoTime && (!time.isInit() || offset > TOLERANCE || offset < -TOLERANCE))
        time.Reset(claimed);
    if (!time.isInit())
        return;
    block.SetPTS(time.GetTime());
    time.AddSamples(block.GetSampleRate(), static_cast<unsigned long long>(block.GetSampleCount()));
    block.SetDuration(time.GetTime() - block.GetPTS());
}

} // namespace Tessor::Host
