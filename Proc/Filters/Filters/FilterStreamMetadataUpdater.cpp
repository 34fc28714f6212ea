#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"

#include "Fnd/Statistics.h"

namespace Tessor::Proc
{

template <class IStreamParent, class IStreamThis>
SP<IStreamThis> FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::Create(const SP<IStreamParent>& parent,
                                                                                const Settings& settings)
{
    return SP<IStreamThis>(new FilterStreamMetadataUpdater(parent, settings));
}

template <class IStreamParent, class IStreamThis>
FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::FilterStreamMetadataUpdater(const SP<IStreamParent>& parent,
                                                                                     const Settings& settings)
    : PassThrough<IStreamParent, IStreamThis>(parent, "FilterStreamMetadataUpdater", FRAME_ALLOC_NONE),
      settings(SettingsCast<SettingsStreamMetadataUpdater>(settings))
{
    this->settings.metadata.RequireNode("Create");
}

template <class IStreamParent, class IStreamThis>
void FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::Initialize(const Core::Property& metadata)
{
    metadata.RequireNode("Initialize");
    settings.metadata = metadata;
}

template <class IStreamParent, class IStreamThis>
void FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::Initialize(const Settings& newSettings)
{
    Initialize(SettingsCast<SettingsStreamMetadataUpdater>(newSettings).metadata);
}

template <class IStreamParent, class IStreamThis>
Core::Property FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::GetSettings() const
{
    return settings.metadata;
}

template <class IStreamParent, class IStreamThis>
Core::Property FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::GetStatistic() const
{
    return Core::GetRootItem(); // not the parent's: what lies upstream is hidden on purpose
}

template <class IStreamParent, class IStreamThis>
auto FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::GetFormatCodec() const -> SP<Format>
{
    const SP<Format> format = parentStream->GetFormatCodec();
    if (!format)
        return format;
    const SP<Format> updated = format->Clone();
    updated->Merge(settings.metadata);
    return updated;
}

template <class IStreamParent, class IStreamThis>
auto FilterStreamMetadataUpdater<IStreamParent, IStreamThis>::ReadInternal() -> SP<Item>
{
    return parentStream->Read();
}

template class FilterStreamMetadataUpdater<IStreamAudio, IStreamAudioEx>;
template class FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>;

} // namespace Tessor::Proc
