#pragma once

#include "ffhost/registry/RegistryEntry.h"
#include "host/IFilterFactoryRegistrator.h"

#include <any>

namespace Tessor::Host
{

/// Takes in what libraries register, and makes it: the two sides of one registry. A name that is registered again
/// replaces what it stood for. Threads: any, once all is registered.
class TESSOR_API FilterRegistry final : public Proc::IFilterFactory,
                                        public Proc::IFilterFactoryRegistrator,
                                        public RefCountImpl
{
public:
    using Name = const std::string&;

    /// An empty registry that hands these factories, and itself, to the filters that it makes.
    static SP<FilterRegistry> Create(Effects effects, Algorithms algorithms, VideoData videoData);

    /// In order of registration.
    std::vector<RegistryEntry> List() const;

    using IFilterFactoryRegistrator::RegisterFilterAudioEx;
    using IFilterFactoryRegistrator::RegisterFilterRawEx;
    using IFilterFactoryRegistrator::RegisterFilterSubtitleEx;
    using IFilterFactoryRegistrator::RegisterFilterVideoEx;

    void RegisterResize(Name implName, Factory<Proc::IFilterResize, VideoStream, Effects> maker) override;
    void RegisterFrameRate(Name implName, Factory<Proc::IFilterFrameRate, VideoStream> maker) override;
    void RegisterResample(Name implName, Factory<Proc::IFilterResample, AudioStream, Effects> maker) override;
    void RegisterAudioHistogram(Name implName, Factory<Proc::IFilterAudioHistogram, AudioStream> maker) override;
    void RegisterAudioMixer(Name implName, Factory<Proc::IFilterAudioMixer, Filters> maker) override;
    void RegisterAudioFormatter(Name implName,
                                Factory<Proc::IFilterAudioFormatter, AudioStream, Algorithms> maker) override;
    void RegisterCutController(
        Name implName, Factory<Proc::IStreamController, const Proc::Settings&, SP<Proc::ICodecFactory>> maker) override;
    void RegisterRepeatController(Name implName, Factory<Proc::IFilterRepeatController> maker) override;
    void RegisterSubtitleDrawer(
        Name implName,
        Factory<Proc::IFilterSubtitleDrawer, Filters, VideoStream, Effects, const SP<Proc::IASSLibrary>&> maker)
        override;
    void RegisterApplyEffectsVideo(Name implName,
                                   Factory<Proc::IFilterApplyEffectsVideo, VideoStream, Effects> maker) override;
    void RegisterApplyEffectsAudio(Name implName,
                                   Factory<Proc::IFilterApplyEffectsAudio, AudioStream, Effects> maker) override;
    void RegisterCRCStreamController(Name implName, Factory<Proc::ICRCStreamController> maker) override;
    void RegisterCacheController(Name implName, Factory<Proc::IFilterCacheController> maker) override;
    void RegisterCropDetector(Name implName, Factory<Proc::ICropDetector, Effects> maker) override;
    void RegisterSeekController(Name implName, Factory<Proc::IFilterSeekController> maker) override;
    void RegisterJoinVideo(Name implName, Factory<Proc::TIFilterJoin<Proc::IStreamVideo>> maker) override;
    void RegisterJoinAudio(Name implName, Factory<Proc::TIFilterJoin<Proc::IStreamAudio>> maker) override;
    void RegisterJoinRaw(Name implName, Factory<Proc::TIFilterJoin<Proc::IStreamRaw>> maker) override;
    void RegisterSmartMapVideo(Name implName, Factory<Proc::ISmartMapVideo> maker) override;
    void RegisterSmartMapAudio(Name implName, Factory<Proc::ISmartMapAudio, Filters> maker) override;
    void RegisterRepeatVideo(
        Name implName,
        Factory<Proc::TIFilterRepeat<Proc::IStreamVideoEx, Proc::IStreamVideo>, VideoStream> maker) override;
    void RegisterRepeatAudio(
        Name implName,
        Factory<Proc::TIFilterRepeat<Proc::IStreamAudioEx, Proc::IStreamAudio>, AudioStream> maker) override;
    void RegisterVolumeDetect(Name implName, Factory<Proc::IFilterVolumeDetect, Effects> maker) override;
    void RegisterLosslessDetect(Name implName,
                                Factory<Proc::IStreamRaw, RawStream, const Proc::Settings&> maker) override;
    void RegisterFilterAudioEx(Name classId, Name implName, AudioFactory factory) override;
    void RegisterFilterVideoEx(Name classId, Name implName, VideoFactory factory) override;
    void RegisterFilterSubtitleEx(Name classId, Name implName, SubtitleFactory factory) override;
    void RegisterFilterRawEx(Name classId, Name implName, RawFactory factory) override;

    SP<Proc::IFilterResize> CreateResize(Name implName, const SP<Proc::IStreamVideo>& parent) const override;
    SP<Proc::IFilterFrameRate> CreateFrameRate(Name implName, const SP<Proc::IStreamVideo>& parent) const override;
    SP<Proc::IFilterResample> CreateResample(Name implName, const SP<Proc::IStreamAudio>& parent) const override;
    SP<Proc::IFilterAudioHistogram> CreateAudioHistogram(Name implName,
                                                         const SP<Proc::IStreamAudio>& parent) const override;
    SP<Proc::IFilterAudioMixer> CreateAudioMixer(Name implName) const override;
    SP<Proc::IFilterAudioFormatter> CreateAudioFormatter(Name implName,
                                                         const SP<Proc::IStreamAudio>& parent) const override;
    SP<Proc::IStreamController> CreateCutController(Name implName, const Proc::Settings& settings,
                                                    const SP<Proc::ICodecFactory>& codecFactory) const override;
    SP<Proc::IFilterRepeatController> CreateRepeatController(Name implName) const override;
    SP<Proc::IFilterSubtitleDrawer> CreateSubtitleDrawer(Name implName, const SP<Proc::IStreamVideo>& parent,
                                                         const SP<Proc::IASSLibrary>& library) const override;
    SP<Proc::IFilterApplyEffectsVideo> CreateApplyEffectsVideo(Name implName,
                                                               const SP<Proc::IStreamVideo>& parent) const override;
    SP<Proc::IFilterApplyEffectsAudio> CreateApplyEffectsAudio(Name implName,
                                                               const SP<Proc::IStreamAudio>& parent) const override;
    SP<Proc::ICRCStreamController> CreateCRCStreamController(Name implName) const override;
    SP<Proc::IFilterCacheController> CreateCacheController(Name implName) const override;
    SP<Proc::ICropDetector> CreateCropDetector(Name implName) const override;
    SP<Proc::IFilterSeekController> CreateSeekController(Name implName) const override;
    SP<Proc::TIFilterJoin<Proc::IStreamVideo>> CreateJoinVideo(Name implName) const override;
    SP<Proc::TIFilterJoin<Proc::IStreamAudio>> CreateJoinAudio(Name implName) const override;
    SP<Proc::TIFilterJoin<Proc::IStreamRaw>> CreateJoinRaw(Name implName) const override;
    SP<Proc::ISmartMapVideo> CreateSmartMapVideo(Name implName) const override;
    SP<Proc::ISmartMapAudio> CreateSmartMapAudio(Name implName) const override;
    SP<Proc::TIFilterRepeat<Proc::IStreamVideoEx, Proc::IStreamVideo>>
    CreateRepeatVideo(Name implName, const SP<Proc::IStreamVideo>& parent) const override;
    SP<Proc::TIFilterRepeat<Proc::IStreamAudioEx, Proc::IStreamAudio>>
    CreateRepeatAudio(Name implName, const SP<Proc::IStreamAudio>& parent) const override;
    SP<Proc::IFilterVolumeDetect> CreateVolumeDetect(Name implName) const override;
    SP<Proc::IStreamRaw> CreateLosslessDetect(Name implName, const SP<Proc::IStreamRaw>& parent,
                                              const Proc::Settings& settings) const override;
    SP<Proc::IStreamAudioEx> CreateFilterAudioEx(const Proc::Settings& settings, Name implName,
                                                 const SP<Proc::IStreamAudio>& parent) const override;
    SP<Proc::IStreamVideoEx> CreateFilterVideoEx(const Proc::Settings& settings, Name implName,
                                                 const SP<Proc::IStreamVideo>& parent) const override;
    SP<Proc::IStreamSubtitleEx> CreateFilterSubtitleEx(const Proc::Settings& settings, Name implName,
                                                       const SP<Proc::IStreamSubtitle>& parent) const override;
    SP<Proc::IStreamRawEx> CreateFilterRawEx(const Proc::Settings& settings, Name implName,
                                             const SP<Proc::IStreamRaw>& parent) const override;

private:
    /// All implementations for one purpose.
    struct Slot
    {
        RegistryEntry entry;
        std::vector<std::any> makers; // the function that was registered, in the order of the entry's names
    };

    FilterRegistry(Effects effects, Algorithms algorithms, VideoData videoData);
    void Add(Name kind, Name classId, Name implName, std::any maker);
    /// Throws FilterException for what is not registered.
    const std::any& Find(Name kind, Name classId, Name implName) const;
    /// Calls what was registered as a `Maker`.
    template <class Maker, class... Arguments>
    auto Make(Name kind, Name classId, Name implName, const Arguments&... arguments) const
    {
        return std::any_cast<const Maker&>(Find(kind, classId, implName))(arguments...);
    }
    SP<const Proc::IFilterFactory> Self() const { return SP<const Proc::IFilterFactory>(this); }

    const SP<const Proc::IEffectFactory> effects;
    const SP<const Proc::IAlgorithmFactory> algorithms;
    const SP<const Proc::IFactoryDataVideo> videoData; // may be null
    std::vector<Slot> slots;                           // in order of registration
};

} // namespace Tessor::Host
