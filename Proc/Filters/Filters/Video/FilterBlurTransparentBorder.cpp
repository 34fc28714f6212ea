#include "Proc/Filters/Filters/Video/FilterBlurTransparentBorder.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Algorithms/BorderBlur.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Filters/Filters/Video/SharedConverterSettings.h"
#include "host/ImplNames.h"

#include <glog/logging.h>

namespace Tessor::Proc
{

namespace
{

/// By two pixels, because neighbours of a packed format may share bytes.
bool HasFourBytesAPixel(const IDataVideo& frame)
{
    const PixFmtDescription description = PixFmtDescription::Find(frame.GetPixFmt());
    return description.GetPlanesCount() == 1 && description.GetAllPlanesFullSize(2, 1) == 8;
}

} // namespace

SP<IStreamVideoEx> FilterBlurTransparentBorder::Create(const SP<IStreamVideo>& parent,
                                                       const SP<const IEffectFactory>& effectFactory,
                                                       const Settings& settings)
{
    return SP<IStreamVideoEx>(new FilterBlurTransparentBorder(parent, effectFactory, settings));
}

FilterBlurTransparentBorder::FilterBlurTransparentBorder(const SP<IStreamVideo>& parent,
                                                         const SP<const IEffectFactory>& effectFactory,
                                                         const Settings& settings)
    : PassThrough(parent, "FilterBlurTransparentBorder"),
      converter(RequireFactory(effectFactory)
                    .CreateEffectVideo(SettingsColorspaceConverter::CLASS_ID, ImplNames::DEFAULT, nullptr))
{
    converter->Initialise(GetSharedConverterSettings());
    FilterBlurTransparentBorder::Initialize(settings);
}

void FilterBlurTransparentBorder::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

void FilterBlurTransparentBorder::Initialize(const Settings& newSettings)
{
    const Lock lock(mutex);
    settings = SettingsCast<SettingsFilterBlurTransparentBorder>(newSettings);
}

Core::Property FilterBlurTransparentBorder::GetSettings() const
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

SP<Conf::IFormatCodecVideo> FilterBlurTransparentBorder::GetFormatCodec() const
{
    const SP<Conf::IFormatCodecVideo> parentFormat = parentStream->GetFormatCodec();
    if (!parentFormat)
        return nullptr;
    SP<Conf::IFormatCodecVideo> format = parentFormat->Clone();
    converter->UpdateFormat(format);
    return format;
}

Core::Property FilterBlurTransparentBorder::GetStatistic() const
{
    const Lock lock(mutex);
    Core::Property record =
        Core::MakeStatistics(Core::StatisticsTag("FilterBlurTransparentBorder"), statisticsTime, statisticsCount);
    record.Add(Core::Property("Matrix_size", settings.GetMatrixSize()));
    Core::Property statistics = parentStream->GetStatistic();
    statistics.Add(std::move(record));
    return statistics;
}

SP<IDataVideo> FilterBlurTransparentBorder::ReadInternal()
{
    const Lock lock(mutex);
    SP<IDataVideo> frame = parentStream->Read();
    if (!frame)
        return nullptr;
    const Core::TimerSimple timer(statisticsTime);
    ++statisticsCount;
    const PixFmt format = frame->GetPixFmt();
    if (!PixFmtDescription::Find(format).HasAlpha())
        return frame;
    // The order of bytes is that of the frame as it came, whatever the converter makes of it.
    const int alphaByte = format == PixFmt::ARGB || format == PixFmt::ABGR ? 0 : 3;
    converter->Process(frame);
    if (!frame || !HasFourBytesAPixel(*frame))
        return frame;
    frame = frame->MakeWritableCopy(); // the converter may have handed on the parent's own frame
    Blur(*frame, alphaByte);
    return frame;
}

void FilterBlurTransparentBorder::Blur(IDataVideo& frame, int alphaByte) const
{
    long long time = 0;
    size_t processed = 0;
    {
        const Core::TimerSimple timer(time);
        const Details::PlaneTemplate<false> plane = frame.GetPlane(0);
        processed = BlurTransparentBorder(
            {plane.GetOffsetPtr(0, 0), plane.GetStride(), frame.GetWidth(), frame.GetHeight(), alphaByte},
            settings.GetMatrixSize());
    }
    VLOG(4001) << "Processed " << processed << " pixels in " << time << " us";
}

} // namespace Tessor::Proc
