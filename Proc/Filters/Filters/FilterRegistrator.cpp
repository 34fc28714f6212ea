#include "Proc/Filters/Filters/FilterRegistrator.h"

#include "Proc/Filters/Filters/Audio/FilterAudioFormatter.h"
#include "Proc/Filters/Filters/Audio/FilterAudioGenerator.h"
#include "Proc/Filters/Filters/Audio/FilterAudioMixer.h"
#include "Proc/Filters/Filters/Audio/FilterAudioVolume.h"
#include "Proc/Filters/Filters/Audio/FilterResample.h"
#include "Proc/Filters/Filters/Audio/FilterVolumeDetect.h"
#include "Proc/Filters/Filters/Cutting/FilterBitStream.h"
#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "Proc/Filters/Filters/Effects/FilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/Effects/FilterApplyEffectsVideo.h"
#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"
#include "Proc/Filters/Filters/Proof/FilterLosslessDetect.h"
#include "Proc/Filters/Filters/Video/FilterBlurTransparentBorder.h"
#include "Proc/Filters/Filters/Video/FilterDeinterlace.h"
#include "Proc/Filters/Filters/Video/FilterFrameRateAdjust.h"
#include "Proc/Filters/Filters/Video/FilterResize.h"
#include "Proc/Settings/SettingsFilterAudioFormatter.h"
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
    registrator.RegisterResample(ImplNames::TESSOR, FilterResample::Create);
    registrator.RegisterAudioMixer(ImplNames::TESSOR, FilterAudioMixer::Create);
    registrator.RegisterAudioFormatter(ImplNames::TESSOR, FilterAudioFormatter::Create);
    registrator.RegisterCutController(ImplNames::TESSOR, CreateCutController);
    registrator.RegisterApplyEffectsVideo(ImplNames::TESSOR, FilterApplyEffectsVideo::Create);
    registrator.RegisterApplyEffectsAudio(ImplNames::TESSOR, FilterApplyEffectsAudio::Create);
    registrator.RegisterVolumeDetect(ImplNames::TESSOR, FilterVolumeDetect::Create);
    registrator.RegisterLosslessDetect(ImplNames::TESSOR, CreateLosslessDetect);
}

void RegisterAudioFilters(IFilterFactoryRegistrator& registrator)
{
    registrator.RegisterFilterAudioEx(SettingsAudioGenerator::CLASS_ID, ImplNames::TESSOR,
                                      FilterAudioGenerator::Create);
    registrator.RegisterFilterAudioEx(SettingsFilterAudioVolume::CLASS_ID, ImplNames::TESSOR,
                                      FilterAudioVolume::Create);
    registrator.RegisterFilterAudioEx(SettingsFilterResample::CLASS_ID, ImplNames::TESSOR,
                                      FilterResample::CreateStreamEx);
    registrator.RegisterFilterAudioEx(SettingsFilterAudioFormatter::CLASS_ID, ImplNames::TESSOR,
                                      FilterAudioFormatter::CreateStreamEx);
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

void RegisterRawFilters(IFilterFactoryRegistrator& registrator)
{
    registrator.RegisterFilterRawEx(SettingsFilterBitStream::CLASS_ID, ImplNames::TESSOR, FilterBitStream::Create);
}

} // namespace

void FilterRegistrator(IFilterFactoryRegistrator* registrator)
{
    // the order of these calls, and of those within them, is one that hosts may rely on
    RegisterTyped(*registrator);
    RegisterAudioFilters(*registrator);
    RegisterVideoFilters(*registrator);
    RegisterRawFilters(*registrator);
}
