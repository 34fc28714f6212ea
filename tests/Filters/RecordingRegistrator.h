#pragma once

#include "host/IFilterFactoryRegistrator.h"

#include <map>
#include <vector>

namespace Tessor::Test
{

/// A registry that keeps wide factories under CLASS_ID and implementation, and the names of all registrations in order.
class RecordingRegistrator final : public Proc::IFilterFactoryRegistrator
{
public:
    template <class F>
    using ByName = std::map<std::pair<std::string, std::string>, F>;

    std::vector<std::string> order;
    ByName<AudioFactory> audio;
    ByName<VideoFactory> video;
    ByName<SubtitleFactory> subtitle;
    ByName<RawFactory> raw;

    using IFilterFactoryRegistrator::RegisterFilterAudioEx;
    using IFilterFactoryRegistrator::RegisterFilterRawEx;
    using IFilterFactoryRegistrator::RegisterFilterSubtitleEx;
    using IFilterFactoryRegistrator::RegisterFilterVideoEx;

    void RegisterResize(Name n, Factory<Proc::IFilterResize, VideoStream, Effects>) override { Note("Resize", n); }
    void RegisterFrameRate(Name n, Factory<Proc::IFilterFrameRate, VideoStream>) override { Note("FrameRate", n); }
    void RegisterResample(Name n, Factory<Proc::IFilterResample, AudioStream, Effects>) override
    {
        Note("Resample", n);
    }
    void RegisterAudioHistogram(Name n, Factory<Proc::IFilterAudioHistogram, AudioStream>) override
    {
        Note("AudioHistogram", n);
    }
    void RegisterAudioMixer(Name n, Factory<Proc::IFilterAudioMixer, Filters>) override { Note("AudioMixer", n); }
    void RegisterAudioFormatter(Name n, Factory<Proc::IFilterAudioFormatter, AudioStream, Algorithms>) override
    {
        Note("AudioFormatter", n);
    }
    void
    RegisterCutController(Name n,
                          Factory<Proc::IStreamController, const Proc::Settings&, SP<Proc::ICodecFactory>>) override
    {
        Note("CutController", n);
    }
    void RegisterRepeatController(Name n, Factory<Proc::IFilterRepeatController>) override
    {
        Note("RepeatController", n);
    }
    void RegisterSubtitleDrawer(
        Name n,
        Factory<Proc::IFilterSubtitleDrawer, Filters, VideoStream, Effects, const SP<Proc::IASSLibrary>&>) override
    {
        Note("SubtitleDrawer", n);
    }
    void RegisterApplyEffectsVideo(Name n, Factory<Proc::IFilterApplyEffectsVideo, VideoStream, Effects>) override
    {
        Note("ApplyEffectsVideo", n);
    }
    void RegisterApplyEffectsAudio(Name n, Factory<Proc::IFilterApplyEffectsAudio, AudioStream, Effects>) override
    {
        Note("ApplyEffectsAudio", n);
    }
    void RegisterCRCStreamController(Name n, Factory<Proc::ICRCStreamController>) override
    {
        Note("CRCStreamController", n);
    }
    void RegisterCacheController(Name n, Factory<Proc::IFilterCacheController>) override { Note("CacheController", n); }
    void RegisterCropDetector(Name n, Factory<Proc::ICropDetector, Effects>) override { Note("CropDetector", n); }
    void RegisterSeekController(Name n, Factory<Proc::IFilterSeekController>) override { Note("SeekController", n); }
    void RegisterJoinVideo(Name n, Factory<Proc::TIFilterJoin<Proc::IStreamVideo>>) override { Note("JoinVideo", n); }
    void RegisterJoinAudio(Name n, Factory<Proc::TIFilterJoin<Proc::IStreamAudio>>) override { Note("JoinAudio", n); }
    void RegisterJoinRaw(Name n, Factory<Proc::TIFilterJoin<Proc::IStreamRaw>>) override { Note("JoinRaw", n); }
    void RegisterSmartMapVideo(Name n, Factory<Proc::ISmartMapVideo>) override { Note("SmartMapVideo", n); }
    void RegisterSmartMapAudio(Name n, Factory<Proc::ISmartMapAudio, Filters>) override { Note("SmartMapAudio", n); }
    void
    RegisterRepeatVideo(Name n,
                        Factory<Proc::TIFilterRepeat<Proc::IStreamVideoEx, Proc::IStreamVideo>, VideoStream>) override
    {
        Note("RepeatVideo", n);
    }
    void
    RegisterRepeatAudio(Name n,
                        Factory<Proc::TIFilterRepeat<Proc::IStreamAudioEx, Proc::IStreamAudio>, AudioStream>) override
    {
        Note("RepeatAudio", n);
    }
    void RegisterVolumeDetect(Name n, Factory<Proc::IFilterVolumeDetect, Effects>) override { Note("VolumeDetect", n); }
    void RegisterLosslessDetect(Name n, Factory<Proc::IStreamRaw, RawStream, const Proc::Settings&>) override
    {
        Note("LosslessDetect", n);
    }
    void RegisterFilterAudioEx(Name id, Name n, AudioFactory f) override { Keep(audio, "audio ", id, n, f); }
    void RegisterFilterVideoEx(Name id, Name n, VideoFactory f) override { Keep(video, "video ", id, n, f); }
    void RegisterFilterSubtitleEx(Name id, Name n, SubtitleFactory f) override
    {
        Keep(subtitle, "subtitle ", id, n, f);
    }
    void RegisterFilterRawEx(Name id, Name n, RawFactory f) override { Keep(raw, "raw ", id, n, f); }

private:
    void Note(const std::string& what, Name implName) { order.push_back(what + "/" + implName); }

    template <class F>
    void Keep(ByName<F>& factories, const std::string& kind, Name classId, Name implName, const F& factory)
    {
        Note(kind + classId, implName);
        factories[{classId, implName}] = factory;
    }
};

} // namespace Tessor::Test
