#include "Proc/Filters/Filters/Video/FilterDeinterlace.h"

#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Filters/Filters/Video/SharedConverterSettings.h"
#include "host/ImplNames.h"

#include <glog/logging.h>

namespace Tessor::Proc
{

namespace
{

/// Frames that are looked at for a decision, and frames that are tried for a result.
constexpr int ATTEMPTS = 3;

} // namespace

SP<IStreamVideoEx> FilterDeinterlace::Create(const SP<IStreamVideo>& parent,
                                             const SP<const IEffectFactory>& effectFactory, const Settings& settings)
{
    return SP<IStreamVideoEx>(new FilterDeinterlace(parent, effectFactory, settings));
}

FilterDeinterlace::FilterDeinterlace(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                                     const Settings& settings)
    : PassThrough(parent, "FilterDeinterlace", FRAME_ALLOC_ANY),
      deinterlacer(
          RequireFactory(effectFactory).CreateEffectVideo(SettingsDeinterlace::CLASS_ID, ImplNames::DEFAULT, nullptr)),
      converter(effectFactory->CreateEffectVideo(SettingsColorspaceConverter::CLASS_ID, ImplNames::DEFAULT, nullptr)),
      reconciler(effectFactory, "Downloading from GPU. Possible speed loss. Please use OGL deinterlace here.")
{
    converter->Initialise(GetSharedConverterSettings());
    FilterDeinterlace::Initialize(settings);
}

void FilterDeinterlace::Initialize(const Core::Property& newSettings)
{
    Initialize(Property2SettingsDeinterlace(newSettings));
}

void FilterDeinterlace::Initialize(const Settings& newSettings)
{
    const Lock lock(mutex);
    settings = SettingsCast<SettingsDeinterlace>(newSettings);
    deinterlacer->Initialise(settings);
}

Core::Property FilterDeinterlace::GetSettings() const
{
    const Lock lock(mutex);
    return Settings2Property(settings);
}

SP<Conf::IFormatCodecVideo> FilterDeinterlace::GetFormatCodec() const
{
    const SP<Conf::IFormatCodecVideo> parentFormat = parentStream->GetFormatCodec();
    if (!parentFormat)
        return nullptr;
    SP<Conf::IFormatCodecVideo> format = parentFormat->Clone();
    const Core::Property& properties = format->GetProperties();
    const auto image = properties.FindChild(Conf::IFormatCodecVideo::TAG_IMAGE_FLAG);
    if (image == properties.end() || !image->GetBool())
        converter->UpdateFormat(format);
    return format;
}

Core::Property FilterDeinterlace::GetStatistic() const
{
    const Lock lock(mutex);
    Core::Property record = Core::MakeStatistics(Core::StatisticsTag("FilterDeinterlace"), 0, 0); // it has no counters
    record.Add(deinterlacer->GetStatistic());
    record.Add(converter->GetStatistic());
    Core::Property statistics = parentStream->GetStatistic();
    statistics.Add(std::move(record));
    return statistics;
}

void FilterDeinterlace::ReleaseInternalData()
{
    ResetInternalToDefaults();
    PassThrough::ReleaseInternalData(); // takes the lock of reads, which comes before this filter's
}

void FilterDeinterlace::ResetInternalToDefaults()
{
    const Lock lock(mutex);
    deinterlacer->ReleaseInternalData();
    converter->ReleaseInternalData();
    carriedDuration = 0;
    mode = Mode::Undecided;
    readAhead.clear();
}

SP<IDataVideo> FilterDeinterlace::ReadInternal()
{
    const Lock lock(mutex);
    if (mode == Mode::Undecided)
        Decide();
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt)
    {
        const SP<IDataVideo> frame = TakeFrame();
        if (!frame || mode == Mode::PassThrough)
            return frame;
        if (const SP<IDataVideo> result = Deinterlace(frame))
            return result;
    }
    return nullptr;
}

void FilterDeinterlace::Decide()
{
    for (int i = 0; i < ATTEMPTS && mode == Mode::Undecided; ++i)
    {
        const SP<IDataVideo> frame = parentStream->Read();
        if (!frame)
            break;
        readAhead.push_back(frame); // to be delivered like all others, whatever the decision is
        if (frame->IsInterlaced())
            mode = Mode::Deinterlacing;
    }
    if (mode == Mode::Undecided)
        mode = Mode::PassThrough;
}

SP<IDataVideo> FilterDeinterlace::TakeFrame()
{
    if (readAhead.empty())
        return parentStream->Read();
    const SP<IDataVideo> frame = readAhead.front();
    readAhead.pop_front();
    return frame;
}

SP<IDataVideo> FilterDeinterlace::Deinterlace(SP<IDataVideo> frame)
{
    reconciler.Reconcile(frame, FRAME_ALLOC_CPU);
    // asked before the effect takes the frame: it has to reach the next result if this one gives none
    const avTime duration = frame ? frame->GetDuration() : 0;
    converter->Process(frame);
    deinterlacer->Process(frame);
    if (!frame)
    {
        carriedDuration = AddTime(carriedDuration, duration);
        return nullptr;
    }
    // the frames held back came just before this one, which now lasts from their start
    if (carriedDuration != 0)
    {
        frame->SetPTS(SubTime(frame->GetPTS(), carriedDuration));
        frame->SetDuration(AddTime(frame->GetDuration(), carriedDuration));
    }
    carriedDuration = 0;
    VLOG(4000) << "Deinterlace (fixed):     Time=" << frame->GetPTS() << " Duration=" << frame->GetDuration();
    return frame;
}

void FilterDeinterlace::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    ResetInternalToDefaults();
    parentStream->RequestSeek(target, partner);
}

} // namespace Tessor::Proc
