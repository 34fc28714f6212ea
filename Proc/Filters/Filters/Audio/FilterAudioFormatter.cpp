#include "Proc/Filters/Filters/Audio/FilterAudioFormatter.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Settings/IPreset.h"
#include "Proc/Settings/SettingsFilterAudioFormatter.h"
#include "host/ImplNames.h"

namespace Tessor::Proc
{

SP<IFilterAudioFormatter> FilterAudioFormatter::Create(const SP<IStreamAudio>& parent,
                                                       const SP<const IAlgorithmFactory>& algorithms)
{
    return SP<IFilterAudioFormatter>(new FilterAudioFormatter(parent, algorithms));
}

SP<IStreamAudioEx> FilterAudioFormatter::CreateStreamEx(const SP<IStreamAudio>& parent,
                                                        const SP<const IAlgorithmFactory>& algorithms,
                                                        const Settings& settings)
{
    const SP<IFilterAudioFormatter> filter = Create(parent, algorithms);
    filter->Initialize(settings);
    return filter;
}

FilterAudioFormatter::FilterAudioFormatter(const SP<IStreamAudio>& parent,
                                           const SP<const IAlgorithmFactory>& algorithms)
    : PassThrough(parent, "FilterAudioFormatter"),
      engine(algorithms ? algorithms->CreateAudioFormatter(ImplNames::DEFAULT) : nullptr)
{
    if (!engine)
        Throw<std::invalid_argument>(TESSOR_HERE, "A formatter needs a factory of algorithms.");
}

void FilterAudioFormatter::Initialize(const Core::Property& tree)
{
    CheckClassName(TESSOR_HERE, tree, IFilterAudioFormatter::CLASS_ID);
    // over both steps, so that no read sees the one without the other; SetPacketDuration takes it again
    const std::lock_guard lock(mutex);
    engine->Initialize(tree[IAudioFormatter::CLASS_ID]);
    SetPacketDuration(tree[PACKET_DURATION].GetInt64());
}

void FilterAudioFormatter::Initialize(const Settings& settings)
{
    SetPacketDuration(SettingsCast<SettingsFilterAudioFormatter>(settings).packetDuration);
}

Core::Property FilterAudioFormatter::GetSettings() const
{
    const std::lock_guard lock(mutex);
    Core::Property tree(IFilterAudioFormatter::CLASS_ID);
    tree.SetChild(IPreset::KEY_TYPE_ID, "");
    tree.SetChildT<long long>(PACKET_DURATION, packetDuration);
    tree.SetChild(IAudioFormatter::CLASS_ID, engine->GetSettings());
    return tree;
}

void FilterAudioFormatter::ReleaseInternalData()
{
    // the lock is not held for the rest: a read takes the base's before this one
    ResetEngine(0);
    PassThrough::ReleaseInternalData();
}

Core::Property FilterAudioFormatter::GetStatistic() const
{
    return AddStatistics(parentStream->GetStatistic(), Core::StatisticsTag("FilterAudioFormatter"), statisticsTime,
                         statisticsCount);
}

void FilterAudioFormatter::SetPacketDuration(avTime duration)
{
    // a stream of empty blocks would never end
    if (duration <= 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "Audio blocks of " + T2S(duration));
    const std::lock_guard lock(mutex);
    packetDuration = duration;
}

void FilterAudioFormatter::SetFormat(const Conf::SampleInfo& format)
{
    const std::lock_guard lock(mutex);
    engine->Convert(format);
}

SP<IDataAudio> FilterAudioFormatter::ReadInternal()
{
    const std::lock_guard lock(mutex);
    while (!IsTerminated())
    {
        // the engine before the parent: one block of the parent may hold several
        if (const SP<IDataAudio> block = GetBlock(false))
            return block;
        SP<IDataAudio> input = parentStream->Read();
        if (!input)
            return GetBlock(true);
        const Core::TimerSimple timer(statisticsTime);
        engine->Push(input);
    }
    return nullptr;
}

SP<IDataAudio> FilterAudioFormatter::GetBlock(bool flush)
{
    const Core::TimerSimple timer(statisticsTime);
    const SP<IDataAudio> block = engine->Get(packetDuration, flush);
    statisticsCount += block ? 1 : 0;
    return block;
}

void FilterAudioFormatter::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    ResetEngine(NoTime); // times go on from wherever the parent lands
    parentStream->RequestSeek(target, partner);
}

void FilterAudioFormatter::ResetEngine(avTime time)
{
    const std::lock_guard lock(mutex);
    engine->Reset(time);
}

} // namespace Tessor::Proc
