#include "ffhost/registry/Host.h"

#include "Proc/Filters/Filters/FilterRegistrator.h"
#include "ffhost/streams/GraphStream.h"
#include "host/ImplNames.h"

namespace Tessor::Host
{

using namespace Proc;

std::vector<RegistryEntry> MediaHost::List() const
{
    std::vector<RegistryEntry> entries = filters->List();
    for (const std::vector<RegistryEntry>& more : {effects->List(), algorithms->List()})
        entries.insert(entries.end(), more.begin(), more.end());
    return entries;
}

MediaHost MakeHost()
{
    const SP<EffectFactory> effects = EffectFactory::Create();
    const SP<AlgorithmFactory> algorithms = AlgorithmFactory::Create();
    // No data for video: our frames lie in main memory, and need no device.
    const SP<FilterRegistry> filters = FilterRegistry::Create(effects, algorithms, nullptr);
    FilterRegistrator(filters.get());
    filters->RegisterFilterVideoEx(SettingsAVFilter::CLASS_ID, ImplNames::FFMPEG, GraphStreamVideo::Create);
    filters->RegisterFilterAudioEx(SettingsAVFilter::CLASS_ID, ImplNames::FFMPEG, GraphStreamAudio::Create);
    return {effects, algorithms, filters};
}

} // namespace Tessor::Host
