#include "Proc/Filters/Filters/FilterRegistrator.h"

#include "Proc/Filters/Filters/FilterBitStream.h"
#include "Proc/Filters/Filters/FilterCutController.h"
#include "Proc/Filters/Filters/FilterLosslessDetect.h"
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
    registrator.RegisterCutController(ImplNames::TESSOR, CreateCutController);
    registrator.RegisterLosslessDetect(ImplNames::TESSOR, CreateLosslessDetect);
}

void RegisterAudioFilters(IFilterFactoryRegistrator& registrator)
{
    registrator.RegisterFilterAudioEx(SettingsStreamMetadataUpdater::CLASS_ID, ImplNames::TESSOR,
                                      FilterStreamMetadataUpdater<IStreamAudio, IStreamAudioEx>::Create);
}

void RegisterVideoFilters(IFilterFactoryRegistrator& registrator)
{
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
    RegisterTyped(*registrator);
    RegisterAudioFilters(*registrator);
    RegisterVideoFilters(*registrator);
    RegisterRawFilters(*registrator);
}
