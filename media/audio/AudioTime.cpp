#include "media/audio/AudioTime.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <algorithm>

namespace Tessor::Proc
{

namespace
{

/// av_rescale, but a result outside of the range stops at its bound: av_rescale itself would give NoTime.
int64_t Rescale(int64_t value, int64_t num, int64_t den)
{
    const int64_t result = av_rescale(value, num, den);
    return result != NoTime ? result : value < 0 ? NoTime + 1 : std::numeric_limits<int64_t>::max();
}

} // namespace

void AudioTime::Reset(avTime time)
{
    base = time;
    rate = 0;
    count = 0;
}

void AudioTime::AddSamples(int sampleRate, unsigned long long sampleCount)
{
    if (!isInit())
        return;
    if (sampleRate <= 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "Samples of no rate");
    // a count means something at one rate only; this is the one place where a rounding stays
    if (sampleRate != rate)
    {
        Reset(GetTime());
        rate = sampleRate;
    }
    // a count that stops is as good as a right one: its time has long stopped at the end of the range
    if (__builtin_add_overflow(count, sampleCount, &count))
        count = std::numeric_limits<unsigned long long>::max();
}

avTime AudioTime::GetTime() const
{
    return rate == 0 ? base : AddTime(base, SampleCount2Duration(count, rate));
}

long long Duration2SampleCount(avTime duration, int sampleRate)
{
    return duration == NoTime || sampleRate <= 0 ? 0 : Rescale(duration, sampleRate, SECOND);
}

avTime SampleCount2Duration(unsigned long long sampleCount, int sampleRate)
{
    // av_rescale is signed; more samples than that last longer than any time
    constexpr unsigned long long longest = std::numeric_limits<int64_t>::max();
    return sampleRate <= 0 ? NoTime : Rescale(static_cast<int64_t>(std::min(sampleCount, longest)), SECOND, sampleRate);
}

} // namespace Tessor::Proc
