#include "Proc/Filters/Filters/Cutting/FilterCutController.h"

#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamImpl.h"
#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamRawImpl.h"

#include <stdexcept>

namespace Tessor::Proc
{

SP<FilterCutController> FilterCutController::Create(const Settings& settings, SP<ICodecFactory> codecFactory)
{
    const auto* const own = dynamic_cast<const SettingsFilterCutController*>(&settings);
    if (!own)
        Throw<FilterException>(TESSOR_HERE, "Wrong settings!");
    return Create(SP<CutIntervals>(new CutIntervals(CutTimeline(own->intervals), own->streamIndex)), codecFactory);
}

SP<FilterCutController> FilterCutController::Create(const SP<CutIntervals>& intervals, SP<ICodecFactory> codecFactory)
{
    return SP<FilterCutController>(new FilterCutController(intervals, codecFactory));
}

void FilterCutController::Initialize(const Core::Property& property)
{
    if (property.GetName() != SettingsFilterCutController::CLASS_ID)
        Throw<std::invalid_argument>(TESSOR_HERE, "incorrect controller name");
    Initialize(Property2SettingsCutController(property));
}

void FilterCutController::Initialize(const Settings& settings)
{
    const auto* const own = dynamic_cast<const SettingsFilterCutController*>(&settings);
    if (!own)
        Throw<std::invalid_argument>(TESSOR_HERE, "wrong settings");
    intervals->Set(CutTimeline(own->intervals), own->streamIndex);
}

// ---- streams

SP<IStreamRaw> FilterCutController::AddStream(const SP<IStreamRaw>& stream)
{
    return Link<IStreamRaw>(stream,
                            [&]
                            {
                                if (!codecFactory)
                                    Throw<FilterException>(TESSOR_HERE,
                                                           "Codec factory is not provided to FilterCutController. Call "
                                                           "FilterCutController::SetCodecFacory(..) before.");
                                return new FilterCutControllerStreamRawImpl(stream, Share(), codecFactory);
                            });
}

SP<IStreamAudio> FilterCutController::AddStream(const SP<IStreamAudio>& stream)
{
    return Link<IStreamAudio>(stream, [&] { return new FilterCutControllerStreamImpl<IStreamAudio>(stream, Share()); });
}

SP<IStreamVideo> FilterCutController::AddStream(const SP<IStreamVideo>& stream)
{
    return Link<IStreamVideo>(stream, [&] { return new FilterCutControllerStreamImpl<IStreamVideo>(stream, Share()); });
}

SP<IStreamSubtitle> FilterCutController::AddStream(const SP<IStreamSubtitle>& stream)
{
    return Link<IStreamSubtitle>(stream,
                                 [&] { return new FilterCutControllerStreamImpl<IStreamSubtitle>(stream, Share()); });
}

CutShare FilterCutController::Share()
{
    return {SP<FilterCutController>(this), intervals, jumps, ahead};
}

template <class IStreamThis, class Make>
SP<IStreamThis> FilterCutController::Link(const SP<IStreamThis>& stream, const Make& make)
{
    SP<IStreamThis> linked;
    jumps->AddStream(stream,
                     [&]
                     {
                         auto* const cut = make();
                         linked = cut; // held before anybody else counts it: counts start at 0
                         return cut;
                     });
    return linked;
}

} // namespace Tessor::Proc
