#pragma once

#include "Proc/Filters/Filters/FilterAudioMixer.h"
#include "tests/Filters/FakeEngines.h"

namespace Tessor::Test
{

/// Makes the audio shells around fake engines that hand blocks on as they are; for anything else it throws
/// std::logic_error. Notes the names that it is asked for in the log.
class FakeFilterFactory final : public Proc::IFilterFactory, public RefCountImpl
{
public:
    explicit FakeFilterFactory(const std::shared_ptr<CallLog>& log) : log(log) {}

    SP<Proc::IFilterResample> CreateResample(Name implName, const SP<Proc::IStreamAudio>& parent) const override
    {
        log->Add("Resample/" + implName);
        return Proc::FilterResample::Create(parent, new FakeEngineFactory(log, false));
    }
    SP<Proc::IFilterAudioFormatter> CreateAudioFormatter(Name implName,
                                                         const SP<Proc::IStreamAudio>& parent) const override
    {
        log->Add("AudioFormatter/" + implName);
        return Proc::FilterAudioFormatter::Create(parent, new FakeAlgorithmFactory(log, false));
    }
    SP<Proc::IFilterResize> CreateResize(Name, const SP<Proc::IStreamVideo>&) const override { Refuse(); }
    SP<Proc::IFilterFrameRate> CreateFrameRate(Name, const SP<Proc::IStreamVideo>&) const override { Refuse(); }
    SP<Proc::IFilterAudioHistogram> CreateAudioHistogram(Name, const SP<Proc::IStreamAudio>&) const override
    {
        Refuse();
    }
    SP<Proc::IFilterAudioMixer> CreateAudioMixer(Name) const override { Refuse(); }
    SP<Proc::IStreamController> CreateCutController(Name, const Proc::Settings&,
                                                    const SP<Proc::ICodecFactory>&) const override
    {
        Refuse();
    }
    SP<Proc::IFilterRepeatController> CreateRepeatController(Name) const override { Refuse(); }
    SP<Proc::IFilterSubtitleDrawer> CreateSubtitleDrawer(Name, const SP<Proc::IStreamVideo>&,
                                                         const SP<Proc::IASSLibrary>&) const override
    {
        Refuse();
    }
    SP<Proc::IFilterApplyEffectsVideo> CreateApplyEffectsVideo(Name, const SP<Proc::IStreamVideo>&) const override
    {
        Refuse();
    }
    SP<Proc::IFilterApplyEffectsAudio> CreateApplyEffectsAudio(Name, const SP<Proc::IStreamAudio>&) const override
    {
        Refuse();
    }
    SP<Proc::ICRCStreamController> CreateCRCStreamController(Name) const override { Refuse(); }
    SP<Proc::IFilterCacheController> CreateCacheController(Name) const override { Refuse(); }
    SP<Proc::ICropDetector> CreateCropDetector(Name) const override { Refuse(); }
    SP<Proc::IFilterSeekController> CreateSeekController(Name) const override { Refuse(); }
    SP<Proc::TIFilterJoin<Proc::IStreamVideo>> CreateJoinVideo(Name) const override { Refuse(); }
    SP<Proc::TIFilterJoin<Proc::IStreamAudio>> CreateJoinAudio(Name) const override { Refuse(); }
    SP<Proc::TIFilterJoin<Proc::IStreamRaw>> CreateJoinRaw(Name) const override { Refuse(); }
    SP<Proc::ISmartMapVideo> CreateSmartMapVideo(Name) const override { Refuse(); }
    SP<Proc::ISmartMapAudio> CreateSmartMapAudio(Name) const override { Refuse(); }
    SP<Proc::TIFilterRepeat<Proc::IStreamVideoEx, Proc::IStreamVideo>>
    CreateRepeatVideo(Name, const SP<Proc::IStreamVideo>&) const override
    {
        Refuse();
    }
    SP<Proc::TIFilterRepeat<Proc::IStreamAudioEx, Proc::IStreamAudio>>
    CreateRepeatAudio(Name, const SP<Proc::IStreamAudio>&) const override
    {
        Refuse();
    }
    SP<Proc::IFilterVolumeDetect> CreateVolumeDetect(Name) const override { Refuse(); }
    SP<Proc::IStreamRaw> CreateLosslessDetect(Name, const SP<Proc::IStreamRaw>&, const Proc::Settings&) const override
    {
        Refuse();
    }
    SP<Proc::IStreamAudioEx> CreateFilterAudioEx(const Proc::Settings&, Name,
                                                 const SP<Proc::IStreamAudio>&) const override
    {
        Refuse();
    }
    SP<Proc::IStreamVideoEx> CreateFilterVideoEx(const Proc::Settings&, Name,
                                                 const SP<Proc::IStreamVideo>&) const override
    {
        Refuse();
    }
    SP<Proc::IStreamSubtitleEx> CreateFilterSubtitleEx(const Proc::Settings&, Name,
                                                       const SP<Proc::IStreamSubtitle>&) const override
    {
        Refuse();
    }
    SP<Proc::IStreamRawEx> CreateFilterRawEx(const Proc::Settings&, Name, const SP<Proc::IStreamRaw>&) const override
    {
        Refuse();
    }

private:
    [[noreturn]] static void Refuse() { throw std::logic_error("not of this factory"); }

    const std::shared_ptr<CallLog> log;
};

} // namespace Tessor::Test
