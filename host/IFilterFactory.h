#pragma once

#include "host/FilterInterfaces.h"
#include "host/IASSLibrary.h"

#include <string>

namespace Tessor::Proc
{

/// The lookup side of a registry: makes filters by the name of an implementation, and by the CLASS_ID of their settings
/// in the wide forms. It supplies the effect and algorithm factories itself. What is not registered throws
/// FilterException.
class TESSOR_API IFilterFactory : public virtual IRefCountable
{
public:
    using Name = const std::string&;

    virtual SP<IFilterResize> CreateResize(Name implName, const SP<IStreamVideo>& parent) const = 0;
    virtual SP<IFilterFrameRate> CreateFrameRate(Name implName, const SP<IStreamVideo>& parent) const = 0;
    virtual SP<IFilterResample> CreateResample(Name implName, const SP<IStreamAudio>& parent) const = 0;
    virtual SP<IFilterAudioHistogram> CreateAudioHistogram(Name implName, const SP<IStreamAudio>& parent) const = 0;
    virtual SP<IFilterAudioMixer> CreateAudioMixer(Name implName) const = 0;
    virtual SP<IFilterAudioFormatter> CreateAudioFormatter(Name implName, const SP<IStreamAudio>& parent) const = 0;
    virtual SP<IStreamController> CreateCutController(Name implName, const Settings& settings,
                                                      const SP<ICodecFactory>& codecFactory) const = 0;
    virtual SP<IFilterRepeatController> CreateRepeatController(Name implName) const = 0;
    virtual SP<IFilterSubtitleDrawer> CreateSubtitleDrawer(Name implName, const SP<IStreamVideo>& parent,
                                                           const SP<IASSLibrary>& library) const = 0;
    virtual SP<IFilterApplyEffectsVideo> CreateApplyEffectsVideo(Name implName,
                                                                 const SP<IStreamVideo>& parent) const = 0;
    virtual SP<IFilterApplyEffectsAudio> CreateApplyEffectsAudio(Name implName,
                                                                 const SP<IStreamAudio>& parent) const = 0;
    virtual SP<ICRCStreamController> CreateCRCStreamController(Name implName) const = 0;
    virtual SP<IFilterCacheController> CreateCacheController(Name implName) const = 0;
    virtual SP<ICropDetector> CreateCropDetector(Name implName) const = 0;
    virtual SP<IFilterSeekController> CreateSeekController(Name implName) const = 0;
    virtual SP<TIFilterJoin<IStreamVideo>> CreateJoinVideo(Name implName) const = 0;
    virtual SP<TIFilterJoin<IStreamAudio>> CreateJoinAudio(Name implName) const = 0;
    virtual SP<TIFilterJoin<IStreamRaw>> CreateJoinRaw(Name implName) const = 0;
    virtual SP<ISmartMapVideo> CreateSmartMapVideo(Name implName) const = 0;
    virtual SP<ISmartMapAudio> CreateSmartMapAudio(Name implName) const = 0;
    virtual SP<TIFilterRepeat<IStreamVideoEx, IStreamVideo>>
    CreateRepeatVideo(Name implName, const SP<IStreamVideo>& parent) const = 0;
    virtual SP<TIFilterRepeat<IStreamAudioEx, IStreamAudio>>
    CreateRepeatAudio(Name implName, const SP<IStreamAudio>& parent) const = 0;
    virtual SP<IFilterVolumeDetect> CreateVolumeDetect(Name implName) const = 0;
    virtual SP<IStreamRaw> CreateLosslessDetect(Name implName, const SP<IStreamRaw>& parent,
                                                const Settings& settings) const = 0;

    /// Filters of all kinds by their settings. Sources take a null parent.
    virtual SP<IStreamAudioEx> CreateFilterAudioEx(const Settings& settings, Name implName,
                                                   const SP<IStreamAudio>& parent) const = 0;
    virtual SP<IStreamVideoEx> CreateFilterVideoEx(const Settings& settings, Name implName,
                                                   const SP<IStreamVideo>& parent) const = 0;
    virtual SP<IStreamSubtitleEx> CreateFilterSubtitleEx(const Settings& settings, Name implName,
                                                         const SP<IStreamSubtitle>& parent) const = 0;
    virtual SP<IStreamRawEx> CreateFilterRawEx(const Settings& settings, Name implName,
                                               const SP<IStreamRaw>& parent) const = 0;
};

} // namespace Tessor::Proc
