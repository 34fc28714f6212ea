#include "Proc/Filters/Filters/FilterRegistrator.h"

#include "Proc/Filters/Filters/FilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/FilterApplyEffectsVideo.h"
#include "Proc/Filters/Filters/FilterBlurTransparentBorder.h"
#include "Proc/Filters/Filters/FilterCutController.h"
#include "Proc/Filters/Filters/FilterDeinterlace.h"
#include "Proc/Filters/Filters/FilterFrameRateAdjust.h"
#include "Proc/Filters/Filters/FilterLosslessDetect.h"
#include "Proc/Filters/Filters/FilterResize.h"
#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"
#include "host/ImplNames.h"

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

SP<IStreamController> CreateCutController(const Settings& settings, SP<ICodecFactory> codecFactory)
{
    return FilterCutController::Create(settings, codecFactory);
}

SP<IStreamRaw> CreateLosslessDetect(const SP<IStreamRaw>& parent, const Settings& settings)
{
    return FilterLosslessDetect::Create(parent, settings);
}

void RegisterTyped(IFilterFactoryRegistrator& registrator)
{
    registrator.RegisterResize(ImplNames::TESSOR, FilterResize::Create);
    registrator.RegisterFrameRate(ImplNames::TESSOR, FilterFrameRate::Create);
    registrator.RegisterCutController(ImplNames::TESSOR, CreateCutController);
    registrator.RegisterApplyEffectsVideo(ImplNames::TESSOR, FilterApplyEffectsVideo::Create);
    registrator.RegisterApplyEffectsAudio(ImplNames::TESSOR, FilterApplyEffectsAudio::Create);
    registrator.RegisterLosslessDetect(ImplNames::TESSOR, CreateLosslessDetect);
}

void RegisterAudioFilters(IFilterFactoryRegistrator& registrator)
{
    registrator.RegisterFilterAudioEx(SettingsStreamMetadataUpdater::CLASS_ID, ImplNames::TESSOR,
                                      FilterStreamMetadataUpdater<IStreamAudio, IStreamAudioEx>::Create);
}

void RegisterVideoFilters(IFilterFactoryRegistrator& registrator)
{
    registrator.RegisterFilterVideoEx(SettingsDeinterlace::CLASS_ID, ImplNames::TESSOR, FilterDeinterlace::Create);
    registrator.RegisterFilterVideoEx(SettingsFilterFrameRate::CLASS_ID, SettingsFilterFrameRate::IMPL_DEFAULT,
                                      FilterFrameRate::CreateEx);
    registrator.RegisterFilterVideoEx(SettingsFilterFrameRate::CLASS_ID, SettingsFilterFrameRate::IMPL_ADJUST,
                                      FilterFrameRateAdjust::Create);
    registrator.RegisterFilterVideoEx(SettingsResizer::CLASS_ID, ImplNames::TESSOR, FilterResize::CreateStreamEx);
    registrator.RegisterFilterVideoEx(SettingsFilterBlurTransparentBorder::CLASS_ID, ImplNames::TESSOR,
                                      FilterBlurTransparentBorder::Create);
    registrator.RegisterFilterVideoEx(SettingsStreamMetadataUpdater::CLASS_ID, ImplNames::TESSOR,
                                      FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>::Create);
}

} // namespace

void FilterRegistrator(IFilterFactoryRegistrator* registrator)
{
    RegisterTyped(*registrator);
    RegisterAudioFilters(*registrator);
    RegisterVideoFilters(*registrator);
}
