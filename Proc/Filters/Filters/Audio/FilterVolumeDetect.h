#pragma once

#include "Proc/Filters/Filters/Audio/IFilterVolumeDetect.h"
#include "effects/IEffectFactory.h"

namespace Tessor::Proc
{

class TESSOR_API FilterVolumeDetect final : public IFilterVolumeDetect, public RefCountImpl
{
public:
    /// Of blocks that are weighed.
    static constexpr avTime LAST_START = 600 * SECOND;

    /// The factory is not used.
    static SP<IFilterVolumeDetect> Create(const SP<const IEffectFactory>& effects);

    /// Forgets what Process has found.
    void Reset() { peak = 0; }

private:
    FilterVolumeDetect() = default;

    void Process(const SP<IStreamAudio>& stream) override;
    Core::Property GetStatistic() const override;
    double GetPeakValue() const override { return peak; }
    bool IsLowLevel() const override { return peak < lowLevel; }

    double peak = 0; // of what Process has read so far
    const double lowLevel = 0.3;
    // of the blocks that were weighed; microseconds
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
};

} // namespace Tessor::Proc
