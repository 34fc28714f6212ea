#include "Proc/Filters/Filters/Audio/FilterVolumeDetect.h"

#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include <algorithm>

namespace Tessor::Proc
{

SP<IFilterVolumeDetect> FilterVolumeDetect::Create(const SP<const IEffectFactory>&)
{
    return SP<IFilterVolumeDetect>(new FilterVolumeDetect);
}

void FilterVolumeDetect::Process(const SP<IStreamAudio>& stream)
{
    Reset();
    stream->RequestSeek(0, nullptr);
    stream->DoSeek();
    while (const SP<IDataAudio> block = stream->Read())
    {
        if (block->GetPTS() > LAST_START)
            return;
        const Core::TimerSimple timer(statisticsTime);
        ++statisticsCount;
        peak = std::max(peak, EstimatePeak(block->GetConstAudioRef()));
    }
}

Core::Property FilterVolumeDetect::GetStatistic() const
{
    return Core::MakeStatistics(Core::StatisticsTag("FilterVolumeDetect"), statisticsTime, statisticsCount);
}

} // namespace Tessor::Proc
