#include "Proc/Filters/Filters/Audio/FilterResample.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Settings/IPreset.h"

namespace Tessor::Proc
{

SP<IFilterResample> FilterResample::Create(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effects)
{
    return SP<IFilterResample>(new FilterResample(parent, effects));
}

SP<IStreamAudioEx> FilterResample::CreateStreamEx(const SP<IStreamAudio>& parent,
                                                  const SP<const IEffectFactory>& effects, const Settings& settings)
{
    const SP<IFilterResample> filter = Create(parent, effects);
    filter->Initialize(settings);
    return filter;
}

FilterResample::FilterResample(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effects)
    : PassThrough(parent, "FilterResample"), effects(effects)
{
    if (!effects)
        Throw<std::invalid_argument>(TESSOR_HERE, "A resampler needs a factory of effects.");
    FilterResample::Initialize(Settings2Property(SettingsFilterResample()));
}

void FilterResample::Initialize(const Core::Property& tree)
{
    CheckClassName(TESSOR_HERE, tree, IFilterResample::CLASS_ID);
    const std::lock_guard lock(mutex);
    const Core::Property& engineTree = tree[IResample::CLASS_ID];
    const std::string& newName = engineTree[IPreset::KEY_TYPE_ID].GetString();
    // where an engine can't be made or is none, the old one stays
    const SP<IOneInputEffectAudio> effect = effects->CreateEffectAudio(IResample::CLASS_ID, newName, nullptr);
    engine.reset(&dynamic_cast<IResample&>(*effect));
    implName = newName;
    engine->Initialize(engineTree);
}

void FilterResample::Initialize(const Settings& settings)
{
    Initialize(Settings2Property(SettingsCast<SettingsFilterResample>(settings)));
}

Core::Property FilterResample::GetSettings() const
{
    const std::lock_guard lock(mutex);
    Core::Property engineTree = engine->GetSettings();
    engineTree.SetName(IResample::CLASS_ID);
    engineTree.SetChildT(IPreset::KEY_TYPE_ID, implName);
    Core::Property tree(IFilterResample::CLASS_ID);
    tree.Add(std::move(engineTree));
    return tree;
}

void FilterResample::ReleaseInternalData()
{
    {
        // not held for the rest: a read takes the base's lock before this one
        const std::lock_guard lock(mutex);
        engine->Reset();
    }
    PassThrough::ReleaseInternalData();
}

Core::Property FilterResample::GetStatistic() const
{
    return AddStatistics(parentStream->GetStatistic(), Core::StatisticsTag("FilterResample"), statisticsTime,
                         statisticsCount);
}

SP<Conf::IFormatCodecAudio> FilterResample::GetFormatCodec() const
{
    const SP<Conf::IFormatCodecAudio> format = parentStream->GetFormatCodec();
    if (!format)
        return nullptr;
    SP<Conf::IFormatCodecAudio> output = format->Clone();
    const std::lock_guard lock(mutex);
    engine->UpdateFormat(output);
    return output;
}

void FilterResample::Init(const Conf::SampleInfo& output)
{
    const std::lock_guard lock(mutex);
    engine->Init(output);
}

void FilterResample::InitByFormat(const SP<const Conf::IFormatCodecAudio>& format)
{
    Init(format->GetSampleInfo());
}

SP<IDataAudio> FilterResample::ReadInternal()
{
    const std::lock_guard lock(mutex);
    while (!IsTerminated())
    {
        SP<IDataAudio> block = parentStream->Read();
        const bool parentEnded = !block;
        const Core::TimerSimple timer(statisticsTime);
        // At the end the engine gets null and gives back what it holds: reading goes on until that is null as well.
        // Before the end, null only means that it collects.
        engine->Process(block);
        statisticsCount += block ? 1 : 0;
        if (block || parentEnded)
            return block;
    }
    return nullptr;
}

void FilterResample::DoSeekInternal()
{
    {
        const std::lock_guard lock(mutex);
        engine->Reset();
    }
    parentStream->DoSeek();
}

} // namespace Tessor::Proc
