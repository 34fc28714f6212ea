#include "ffhost/registry/FilterRegistry.h"

#include "Proc/Filters/Filters/Audio/IFilterAudioFormatter.h"
#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "Proc/Filters/Filters/Audio/IFilterResample.h"
#include "Proc/Filters/Filters/Audio/IFilterVolumeDetect.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsVideo.h"
#include "Proc/Filters/Filters/Video/IFilterFrameRate.h"
#include "Proc/Filters/Filters/Video/IFilterResize.h"
#include "host/ICodecFactory.h"

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// For filters whose interfaces have no header yet, so that nobody can have registered one.
[[noreturn]] void Refuse(const std::string& kind, const std::string& implName)
{
    FindImplementation<FilterException>({kind, "", {}}, implName, DefaultImplementation::Own);
    throw std::logic_error("A filter without a header was found");
}

} // namespace

SP<FilterRegistry> FilterRegistry::Create(Effects effects, Algorithms algorithms, VideoData videoData)
{
    return SP<FilterRegistry>(new FilterRegistry(effects, algorithms, videoData));
}

FilterRegistry::FilterRegistry(Effects effects, Algorithms algorithms, VideoData videoData)
    : effects(effects), algorithms(algorithms), videoData(videoData)
{
}

std::vector<RegistryEntry> FilterRegistry::List() const
{
    std::vector<RegistryEntry> entries;
    for (const Slot& slot : slots)
        entries.push_back(slot.entry);
    return entries;
}

// Kinds are kept apart by their names and makers by std::any, so that all slots are one list in order of registration.
// A slot's maker is of the type that the kind's pair of functions below agree on.
void FilterRegistry::Add(Name kind, Name classId, Name implName, std::any maker)
{
    auto slot = std::find_if(slots.begin(), slots.end(),
                             [&](const Slot& s) { return s.entry.kind == kind && s.entry.classId == classId; });
    if (slot == slots.end())
        slot = slots.insert(slot, Slot{{kind, classId, {}}, {}});
    std::vector<std::string>& names = slot->entry.implementations;
    const auto place = std::find(names.begin(), names.end(), implName) - names.begin();
    if (place == static_cast<ptrdiff_t>(names.size()))
    {
        names.push_back(implName);
        slot->makers.emplace_back();
    }
    slot->makers[static_cast<size_t>(place)] = std::move(maker);
}

const std::any& FilterRegistry::Find(Name kind, Name classId, Name implName) const
{
    const auto slot = std::find_if(slots.begin(), slots.end(),
                                   [&](const Slot& s) { return s.entry.kind == kind && s.entry.classId == classId; });
    if (slot != slots.end())
        return slot->makers[FindImplementation<FilterException>(slot->entry, implName, DefaultImplementation::Own)];
    // an entry without names throws what is thrown for a name that is not there, in the same words
    FindImplementation<FilterException>({kind, classId, {}}, implName, DefaultImplementation::Own);
    throw std::logic_error("A filter was found in no slot");
}

void FilterRegistry::RegisterResize(Name implName, Factory<IFilterResize, VideoStream, Effects> maker)
{
    Add("resize", "", implName, maker);
}

SP<IFilterResize> FilterRegistry::CreateResize(Name implName, const SP<IStreamVideo>& parent) const
{
    return Make<Factory<IFilterResize, VideoStream, Effects>>("resize", "", implName, parent, effects);
}

void FilterRegistry::RegisterFrameRate(Name implName, Factory<IFilterFrameRate, VideoStream> maker)
{
    Add("frame rate", "", implName, maker);
}

SP<IFilterFrameRate> FilterRegistry::CreateFrameRate(Name implName, const SP<IStreamVideo>& parent) const
{
    return Make<Factory<IFilterFrameRate, VideoStream>>("frame rate", "", implName, parent);
}

void FilterRegistry::RegisterResample(Name implName, Factory<IFilterResample, AudioStream, Effects> maker)
{
    Add("resample", "", implName, maker);
}

SP<IFilterResample> FilterRegistry::CreateResample(Name implName, const SP<IStreamAudio>& parent) const
{
    return Make<Factory<IFilterResample, AudioStream, Effects>>("resample", "", implName, parent, effects);
}

void FilterRegistry::RegisterAudioHistogram(Name implName, Factory<IFilterAudioHistogram, AudioStream> maker)
{
    Add("audio histogram", "", implName, maker);
}

SP<IFilterAudioHistogram> FilterRegistry::CreateAudioHistogram(Name implName, const SP<IStreamAudio>&) const
{
    Refuse("audio histogram", implName);
}

void FilterRegistry::RegisterAudioMixer(Name implName, Factory<IFilterAudioMixer, Filters> maker)
{
    Add("audio mixer", "", implName, maker);
}

SP<IFilterAudioMixer> FilterRegistry::CreateAudioMixer(Name implName) const
{
    return Make<Factory<IFilterAudioMixer, Filters>>("audio mixer", "", implName, Self());
}

void FilterRegistry::RegisterAudioFormatter(Name implName,
                                            Factory<IFilterAudioFormatter, AudioStream, Algorithms> maker)
{
    Add("audio formatter", "", implName, maker);
}

SP<IFilterAudioFormatter> FilterRegistry::CreateAudioFormatter(Name implName, const SP<IStreamAudio>& parent) const
{
    return Make<Factory<IFilterAudioFormatter, AudioStream, Algorithms>>("audio formatter", "", implName, parent,
                                                                         algorithms);
}

void FilterRegistry::RegisterCutController(Name implName,
                                           Factory<IStreamController, const Settings&, SP<ICodecFactory>> maker)
{
    Add("cut controller", "", implName, maker);
}

SP<IStreamController> FilterRegistry::CreateCutController(Name implName, const Settings& settings,
                                                          const SP<ICodecFactory>& codecFactory) const
{
    return Make<Factory<IStreamController, const Settings&, SP<ICodecFactory>>>("cut controller", "", implName,
                                                                                settings, codecFactory);
}

void FilterRegistry::RegisterRepeatController(Name implName, Factory<IFilterRepeatController> maker)
{
    Add("repeat controller", "", implName, maker);
}

SP<IFilterRepeatController> FilterRegistry::CreateRepeatController(Name implName) const
{
    Refuse("repeat controller", implName);
}

void FilterRegistry::RegisterSubtitleDrawer(
    Name implName, Factory<IFilterSubtitleDrawer, Filters, VideoStream, Effects, const SP<IASSLibrary>&> maker)
{
    Add("subtitle drawer", "", implName, maker);
}

SP<IFilterSubtitleDrawer> FilterRegistry::CreateSubtitleDrawer(Name implName, const SP<IStreamVideo>&,
                                                               const SP<IASSLibrary>&) const
{
    Refuse("subtitle drawer", implName);
}

void FilterRegistry::RegisterApplyEffectsVideo(Name implName,
                                               Factory<IFilterApplyEffectsVideo, VideoStream, Effects> maker)
{
    Add("apply effects video", "", implName, maker);
}

SP<IFilterApplyEffectsVideo> FilterRegistry::CreateApplyEffectsVideo(Name implName,
                                                                     const SP<IStreamVideo>& parent) const
{
    return Make<Factory<IFilterApplyEffectsVideo, VideoStream, Effects>>("apply effects video", "", implName, parent,
                                                                         effects);
}

void FilterRegistry::RegisterApplyEffectsAudio(Name implName,
                                               Factory<IFilterApplyEffectsAudio, AudioStream, Effects> maker)
{
    Add("apply effects audio", "", implName, maker);
}

SP<IFilterApplyEffectsAudio> FilterRegistry::CreateApplyEffectsAudio(Name implName,
                                                                     const SP<IStreamAudio>& parent) const
{
    return Make<Factory<IFilterApplyEffectsAudio, AudioStream, Effects>>("apply effects audio", "", implName, parent,
                                                                         effects);
}

void FilterRegistry::RegisterCRCStreamController(Name implName, Factory<ICRCStreamController> maker)
{
    Add("CRC controller", "", implName, maker);
}

SP<ICRCStreamController> FilterRegistry::CreateCRCStreamController(Name implName) const
{
    Refuse("CRC controller", implName);
}

void FilterRegistry::RegisterCacheController(Name implName, Factory<IFilterCacheController> maker)
{
    Add("cache controller", "", implName, maker);
}

SP<IFilterCacheController> FilterRegistry::CreateCacheController(Name implName) const
{
    Refuse("cache controller", implName);
}

void FilterRegistry::RegisterCropDetector(Name implName, Factory<ICropDetector, Effects> maker)
{
    Add("crop detector", "", implName, maker);
}

SP<ICropDetector> FilterRegistry::CreateCropDetector(Name implName) const
{
    Refuse("crop detector", implName);
}

void FilterRegistry::RegisterSeekController(Name implName, Factory<IFilterSeekController> maker)
{
    Add("seek controller", "", implName, maker);
}

SP<IFilterSeekController> FilterRegistry::CreateSeekController(Name implName) const
{
    Refuse("seek controller", implName);
}

void FilterRegistry::RegisterJoinVideo(Name implName, Factory<TIFilterJoin<IStreamVideo>> maker)
{
    Add("join video", "", implName, maker);
}

SP<TIFilterJoin<IStreamVideo>> FilterRegistry::CreateJoinVideo(Name implName) const
{
    Refuse("join video", implName);
}

void FilterRegistry::RegisterJoinAudio(Name implName, Factory<TIFilterJoin<IStreamAudio>> maker)
{
    Add("join audio", "", implName, maker);
}

SP<TIFilterJoin<IStreamAudio>> FilterRegistry::CreateJoinAudio(Name implName) const
{
    Refuse("join audio", implName);
}

void FilterRegistry::RegisterJoinRaw(Name implName, Factory<TIFilterJoin<IStreamRaw>> maker)
{
    Add("join raw", "", implName, maker);
}

SP<TIFilterJoin<IStreamRaw>> FilterRegistry::CreateJoinRaw(Name implName) const
{
    Refuse("join raw", implName);
}

void FilterRegistry::RegisterSmartMapVideo(Name implName, Factory<ISmartMapVideo> maker)
{
    Add("smart map video", "", implName, maker);
}

SP<ISmartMapVideo> FilterRegistry::CreateSmartMapVideo(Name implName) const
{
    Refuse("smart map video", implName);
}

void FilterRegistry::RegisterSmartMapAudio(Name implName, Factory<ISmartMapAudio, Filters> maker)
{
    Add("smart map audio", "", implName, maker);
}

SP<ISmartMapAudio> FilterRegistry::CreateSmartMapAudio(Name implName) const
{
    Refuse("smart map audio", implName);
}

void FilterRegistry::RegisterRepeatVideo(Name implName,
                                         Factory<TIFilterRepeat<IStreamVideoEx, IStreamVideo>, VideoStream> maker)
{
    Add("repeat video", "", implName, maker);
}

SP<TIFilterRepeat<IStreamVideoEx, IStreamVideo>> FilterRegistry::CreateRepeatVideo(Name implName,
                                                                                   const SP<IStreamVideo>&) const
{
    Refuse("repeat video", implName);
}

void FilterRegistry::RegisterRepeatAudio(Name implName,
                                         Factory<TIFilterRepeat<IStreamAudioEx, IStreamAudio>, AudioStream> maker)
{
    Add("repeat audio", "", implName, maker);
}

SP<TIFilterRepeat<IStreamAudioEx, IStreamAudio>> FilterRegistry::CreateRepeatAudio(Name implName,
                                                                                   const SP<IStreamAudio>&) const
{
    Refuse("repeat audio", implName);
}

void FilterRegistry::RegisterVolumeDetect(Name implName, Factory<IFilterVolumeDetect, Effects> maker)
{
    Add("volume detect", "", implName, maker);
}

SP<IFilterVolumeDetect> FilterRegistry::CreateVolumeDetect(Name implName) const
{
    return Make<Factory<IFilterVolumeDetect, Effects>>("volume detect", "", implName, effects);
}

void FilterRegistry::RegisterLosslessDetect(Name implName, Factory<IStreamRaw, RawStream, const Settings&> maker)
{
    Add("lossless detect", "", implName, maker);
}

SP<IStreamRaw> FilterRegistry::CreateLosslessDetect(Name implName, const SP<IStreamRaw>& parent,
                                                    const Settings& settings) const
{
    return Make<Factory<IStreamRaw, RawStream, const Settings&>>("lossless detect", "", implName, parent, settings);
}

void FilterRegistry::RegisterFilterAudioEx(Name classId, Name implName, AudioFactory factory)
{
    Add("audio filter", classId, implName, std::move(factory));
}

SP<IStreamAudioEx> FilterRegistry::CreateFilterAudioEx(const Settings& settings, Name implName,
                                                       const SP<IStreamAudio>& parent) const
{
    return Make<AudioFactory>("audio filter", settings.GetClassId(), implName, settings, parent, effects, Self(),
                              algorithms);
}

void FilterRegistry::RegisterFilterVideoEx(Name classId, Name implName, VideoFactory factory)
{
    Add("video filter", classId, implName, std::move(factory));
}

SP<IStreamVideoEx> FilterRegistry::CreateFilterVideoEx(const Settings& settings, Name implName,
                                                       const SP<IStreamVideo>& parent) const
{
    return Make<VideoFactory>("video filter", settings.GetClassId(), implName, settings, parent, effects, Self(),
                              algorithms, videoData);
}

void FilterRegistry::RegisterFilterSubtitleEx(Name classId, Name implName, SubtitleFactory factory)
{
    Add("subtitle filter", classId, implName, std::move(factory));
}

SP<IStreamSubtitleEx> FilterRegistry::CreateFilterSubtitleEx(const Settings& settings, Name implName,
                                                             const SP<IStreamSubtitle>& parent) const
{
    return Make<SubtitleFactory>("subtitle filter", settings.GetClassId(), implName, settings, parent, effects, Self(),
                                 algorithms);
}

void FilterRegistry::RegisterFilterRawEx(Name classId, Name implName, RawFactory factory)
{
    Add("raw filter", classId, implName, std::move(factory));
}

SP<IStreamRawEx> FilterRegistry::CreateFilterRawEx(const Settings& settings, Name implName,
                                                   const SP<IStreamRaw>& parent) const
{
    return Make<RawFactory>("raw filter", settings.GetClassId(), implName, settings, parent, effects, Self(),
                            algorithms);
}

} // namespace Tessor::Host
