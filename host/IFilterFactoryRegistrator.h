#pragma once

#include "effects/IEffectFactory.h"
#include "host/FilterInterfaces.h"
#include "host/IAlgorithmFactory.h"
#include "host/IFilterFactory.h"

#include <functional>
#include <string>

namespace Tessor::Proc
{

/// Takes in the factories of filters and controllers. Typed operations, one a filter, take plain functions under the
/// name of an implementation; wide ones, one a kind of stream, take factories under the CLASS_ID of their settings and
/// the name of an implementation. The order of the operations is part of the contract.
class TESSOR_API IFilterFactoryRegistrator
{
public:
    template <class Result, class... Arguments>
    using Factory = SP<Result> (*)(Arguments...);

    using AudioStream = const SP<IStreamAudio>&;
    using VideoStream = const SP<IStreamVideo>&;
    using RawStream = const SP<IStreamRaw>&;
    using SubtitleStream = const SP<IStreamSubtitle>&;
    using Effects = const SP<const IEffectFactory>&;
    using Filters = const SP<const IFilterFactory>&;
    using Algorithms = const SP<const IAlgorithmFactory>&;
    using VideoData = const SP<const IFactoryDataVideo>&;

    /// The wide factories.
    using AudioFactory = std::function<SP<IStreamAudioEx>(const Settings&, AudioStream, Effects, Filters, Algorithms)>;
    using VideoFactory =
        std::function<SP<IStreamVideoEx>(const Settings&, VideoStream, Effects, Filters, Algorithms, VideoData)>;
    using SubtitleFactory =
        std::function<SP<IStreamSubtitleEx>(const Settings&, SubtitleStream, Effects, Filters, Algorithms)>;
    using RawFactory = std::function<SP<IStreamRawEx>(const Settings&, RawStream, Effects, Filters, Algorithms)>;

    using Name = const std::string&;

    virtual ~IFilterFactoryRegistrator() = default;

    virtual void RegisterResize(Name implName, Factory<IFilterResize, VideoStream, Effects>) = 0;
    virtual void RegisterFrameRate(Name implName, Factory<IFilterFrameRate, VideoStream>) = 0;
    virtual void RegisterResample(Name implName, Factory<IFilterResample, AudioStream, Effects>) = 0;
    virtual void RegisterAudioHistogram(Name implName, Factory<IFilterAudioHistogram, AudioStream>) = 0;
    virtual void RegisterAudioMixer(Name implName, Factory<IFilterAudioMixer, Filters>) = 0;
    virtual void RegisterAudioFormatter(Name implName, Factory<IFilterAudioFormatter, AudioStream, Algorithms>) = 0;
    virtual void RegisterCutController(Name implName,
                                       Factory<IStreamController, const Settings&, SP<ICodecFactory>>) = 0;
    virtual void RegisterRepeatController(Name implName, Factory<IFilterRepeatController>) = 0;
    virtual void
    RegisterSubtitleDrawer(Name implName,
                           Factory<IFilterSubtitleDrawer, Filters, VideoStream, Effects, const SP<IASSLibrary>&>) = 0;
    virtual void Unused10() {}
    virtual void RegisterApplyEffectsVideo(Name implName, Factory<IFilterApplyEffectsVideo, VideoStream, Effects>) = 0;
    virtual void RegisterApplyEffectsAudio(Name implName, Factory<IFilterApplyEffectsAudio, AudioStream, Effects>) = 0;
    virtual void RegisterCRCStreamController(Name implName, Factory<ICRCStreamController>) = 0;
    virtual void RegisterCacheController(Name implName, Factory<IFilterCacheController>) = 0;
    virtual void RegisterCropDetector(Name implName, Factory<ICropDetector, Effects>) = 0;
    virtual void RegisterSeekController(Name implName, Factory<IFilterSeekController>) = 0;
    virtual void RegisterJoinVideo(Name implName, Factory<TIFilterJoin<IStreamVideo>>) = 0;
    virtual void RegisterJoinAudio(Name implName, Factory<TIFilterJoin<IStreamAudio>>) = 0;
    virtual void RegisterJoinRaw(Name implName, Factory<TIFilterJoin<IStreamRaw>>) = 0;
    virtual void RegisterSmartMapVideo(Name implName, Factory<ISmartMapVideo>) = 0;
    virtual void RegisterSmartMapAudio(Name implName, Factory<ISmartMapAudio, Filters>) = 0;
    virtual void RegisterRepeatVideo(Name implName,
                                     Factory<TIFilterRepeat<IStreamVideoEx, IStreamVideo>, VideoStream>) = 0;
    virtual void RegisterRepeatAudio(Name implName,
                                     Factory<TIFilterRepeat<IStreamAudioEx, IStreamAudio>, AudioStream>) = 0;
    virtual void RegisterVolumeDetect(Name implName, Factory<IFilterVolumeDetect, Effects>) = 0;
    virtual void Unused25() {}
    virtual void RegisterLosslessDetect(Name implName, Factory<IStreamRaw, RawStream, const Settings&>) = 0;

    virtual void RegisterFilterAudioEx(Name classId, Name implName, AudioFactory factory) = 0;
    virtual void RegisterFilterVideoEx(Name classId, Name implName, VideoFactory factory) = 0;
    virtual void RegisterFilterSubtitleEx(Name classId, Name implName, SubtitleFactory factory) = 0;
    virtual void RegisterFilterRawEx(Name classId, Name implName, RawFactory factory) = 0;

    // The narrow forms: factories that need fewer of the arguments.

    template <class... Arguments>
    using AudioFactoryOf = std::function<SP<IStreamAudioEx>(Arguments...)>;
    template <class... Arguments>
    using VideoFactoryOf = std::function<SP<IStreamVideoEx>(Arguments...)>;

    void RegisterFilterAudioEx(Name classId, Name implName, AudioFactoryOf<const Settings&> factory)
    {
        RegisterFilterAudioEx(classId, implName, AudioFactory(std::bind(std::move(factory), settings)));
    }
    void RegisterFilterAudioEx(Name classId, Name implName, AudioFactoryOf<AudioStream, const Settings&> factory)
    {
        RegisterFilterAudioEx(classId, implName, AudioFactory(std::bind(std::move(factory), stream, settings)));
    }
    void RegisterFilterAudioEx(Name classId, Name implName,
                               AudioFactoryOf<AudioStream, Effects, const Settings&> factory)
    {
        RegisterFilterAudioEx(classId, implName,
                              AudioFactory(std::bind(std::move(factory), stream, effects, settings)));
    }
    void RegisterFilterAudioEx(Name classId, Name implName,
                               AudioFactoryOf<AudioStream, Algorithms, const Settings&> factory)
    {
        RegisterFilterAudioEx(classId, implName,
                              AudioFactory(std::bind(std::move(factory), stream, algorithms, settings)));
    }
    void RegisterFilterVideoEx(Name classId, Name implName, VideoFactoryOf<VideoStream, const Settings&> factory)
    {
        RegisterFilterVideoEx(classId, implName, VideoFactory(std::bind(std::move(factory), stream, settings)));
    }
    void RegisterFilterVideoEx(Name classId, Name implName,
                               VideoFactoryOf<VideoStream, Effects, const Settings&> factory)
    {
        RegisterFilterVideoEx(classId, implName,
                              VideoFactory(std::bind(std::move(factory), stream, effects, settings)));
    }
    void RegisterFilterVideoEx(Name classId, Name implName,
                               VideoFactoryOf<VideoStream, Filters, const Settings&> factory)
    {
        RegisterFilterVideoEx(classId, implName,
                              VideoFactory(std::bind(std::move(factory), stream, filters, settings)));
    }
    void RegisterFilterSubtitleEx(Name classId, Name implName,
                                  std::function<SP<IStreamSubtitleEx>(SubtitleStream, const Settings&)> factory)
    {
        RegisterFilterSubtitleEx(classId, implName, SubtitleFactory(std::bind(std::move(factory), stream, settings)));
    }
    void RegisterFilterRawEx(Name classId, Name implName,
                             std::function<SP<IStreamRawEx>(RawStream, const Settings&)> factory)
    {
        RegisterFilterRawEx(classId, implName, RawFactory(std::bind(std::move(factory), stream, settings)));
    }

private:
    // Places of the arguments in the wide form.
    static constexpr auto& settings = std::placeholders::_1;
    static constexpr auto& stream = std::placeholders::_2;
    static constexpr auto& effects = std::placeholders::_3;
    static constexpr auto& filters = std::placeholders::_4;
    static constexpr auto& algorithms = std::placeholders::_5;
};

} // namespace Tessor::Proc
