#pragma once

#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "Proc/StreamTemplates/IStreamAudioEx.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"
#include "Proc/StreamTemplates/PassThrough.h"

namespace Tessor::Proc
{

/// Hands items through and applies metadata to the format as seen after it. It hides the statistics of all that lies
/// upstream.
template <class IStreamParent, class IStreamThis>
class TESSOR_API FilterStreamMetadataUpdater final : public PassThrough<IStreamParent, IStreamThis>, public RefCountImpl
{
public:
    using typename PassThrough<IStreamParent, IStreamThis>::Item;
    using Format = typename IStreamThis::Format;

    /// Takes SettingsStreamMetadataUpdater; others throw std::bad_cast. Metadata that is no node throws
    /// Core::MethodIsNotApplicable, here and in Initialize.
    static SP<IStreamThis> Create(const SP<IStreamParent>& parent, const Settings& settings);

private:
    using PassThrough<IStreamParent, IStreamThis>::parentStream;

    FilterStreamMetadataUpdater(const SP<IStreamParent>& parent, const Settings& settings);

    /// The tree is the metadata itself, whatever its name; the metadata keeps the name that it was made with.
    void Initialize(const Core::Property& metadata) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    /// A new object at every call; the parent's stays as it is.
    SP<Format> GetFormatCodec() const override;

    SP<Item> ReadInternal() override;

    SettingsStreamMetadataUpdater settings; // replaced by Initialize
};

extern template class FilterStreamMetadataUpdater<IStreamAudio, IStreamAudioEx>;
extern template class FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>;

} // namespace Tessor::Proc
