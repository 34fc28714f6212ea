#include "Proc/Filters/Filters/Video/FilterResize.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/StreamTemplates/Visitors.h"

namespace Tessor::Proc
{

SP<IFilterResize> FilterResize::Create(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory)
{
    return SP<IFilterResize>(new FilterResize(parent, effectFactory, SettingsResizer()));
}

SP<IStreamVideoEx> FilterResize::CreateStreamEx(const SP<IStreamVideo>& parent,
                                                const SP<const IEffectFactory>& effectFactory, const Settings& settings)
{
    return SP<IStreamVideoEx>(new FilterResize(parent, effectFactory, settings));
}

FilterResize::FilterResize(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                           const Settings& settings)
    : PassThrough(parent, "FilterResize"), effectFactory(effectFactory),
      reconciler(effectFactory, "Downloading from GPU. Possible speed loss. Please use OGL resizer here.",
                 "Uploading to GPU. Possible speed loss. Please use software resizer here.")
{
    FilterResize::Initialize(settings);
}

void FilterResize::Initialize(const Core::Property& settings)
{
    Initialize(Property2Settings(settings));
}

void FilterResize::Initialize(const Settings& settings)
{
    const SettingsResizer& given = SettingsCast<SettingsResizer>(settings);
    const SP<IEffect> effect =
        RequireFactory(effectFactory)
            .CreateEffect(IResize::CLASS_ID, Settings2Property(given), parentStream, given.GetImplName(), nullptr);
    effect->Initialise(given);
    effect->SetTimeToProgress({0, GetDuration(), TimeToProgress::Linear}); // it works on the whole stream
    // Only what is complete takes the place of the running one.
    const Lock lock(mutex);
    resizer = SP<IResize>(&dynamic_cast<IResize&>(*effect));
}

Core::Property FilterResize::GetSettings() const
{
    const Lock lock(mutex);
    return resizer->GetSettings();
}

SettingsResizer FilterResize::GetSettings2() const
{
    const Lock lock(mutex);
    const IResize& effect = *resizer;
    return SettingsCast<SettingsResizer>(effect.GetEffectSettings());
}

SP<Conf::IFormatCodecVideo> FilterResize::GetFormatCodec() const
{
    const Lock lock(mutex);
    const SP<Conf::IFormatCodecVideo> parentFormat = parentStream->GetFormatCodec();
    if (!parentFormat)
        Throw<FilterException>(TESSOR_HERE, "Source format codec must be present");
    SP<Conf::IFormatCodecVideo> format = parentFormat->Clone();
    resizer->UpdateFormat(format);
    return format;
}

Core::Property FilterResize::GetStatistic() const
{
    const Lock lock(mutex);
    Core::Property record = Core::MakeStatistics(Core::StatisticsTag("FilterResize"), statisticsTime, statisticsCount);
    record.Add(resizer->GetStatistic());
    record.Add(parentStream->GetStatistic());
    return record;
}

void FilterResize::ReleaseInternalData()
{
    {
        const Lock lock(mutex);
        resizer->ReleaseInternalData();
    }
    PassThrough::ReleaseInternalData(); // takes the lock of reads, which comes before this one
}

void FilterResize::AcceptInternal(IStreamVisitor& visitor)
{
    const Lock lock(mutex);
    Visitors::ProcessStandartVisitors(visitor, "FilterResize", resizer->GetFrameAllocType(), nullptr);
}

SP<IDataVideo> FilterResize::ReadInternal()
{
    const Lock lock(mutex);
    SP<IDataVideo> frame = parentStream->Read();
    if (!frame)
        return nullptr;
    const Core::TimerSimple timer(statisticsTime);
    reconciler.Reconcile(frame, resizer->GetFrameAllocType());
    resizer->Process(frame);
    statisticsCount += frame ? 1 : 0;
    return frame;
}

} // namespace Tessor::Proc
