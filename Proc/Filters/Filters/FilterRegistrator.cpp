#include "Proc/Filters/Filters/FilterRegistrator.h"

#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"
#include "host/ImplNames.h"

using namespace Tessor::Proc;

namespace
{

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

} // namespace

void FilterRegistrator(IFilterFactoryRegistrator* registrator)
{
    RegisterAudioFilters(*registrator);
    RegisterVideoFilters(*registrator);
}
