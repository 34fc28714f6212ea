#pragma once

#include "Proc/Filters/Filters/FilterAudioFormatter.h"
#include "Proc/Filters/Filters/FilterResample.h"
#include "Proc/Settings/SettingsResample.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/ITwoInputEffectVideo.h"
#include "host/IAlgorithmFactory.h"
#include "host/IAudioFormatter.h"
#include "host/IFilterFactory.h"
#include "media/DataAudioFF.h"
#include "tests/support/CallLog.h"
#include "tests/support/FakeItems.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <utility>

namespace Tessor::Test
{

/// A block of 16 bit samples that all have one value.
inline SP<Proc::DataAudioFF> MakeAudio(const Conf::SampleInfo& info, int count, int16_t value, avTime pts = 0)
{
    const SP<Proc::DataAudioFF> block = Proc::DataAudioFF::CreateBySampleCount(info, count);
    const Proc::AudioRef audio = block->GetAudioRef();
    std::fill_n(reinterpret_cast<int16_t*>(audio.data), count * info.GetChannelCount(), value);
    block->SetPTS(pts);
    return block;
}

/// Holds one block back, and hands out blocks as they came: of an output it only tells the format. Writes the rate of
/// the output, resets and implementation into the log.
class FakeResample final
    : public Proc::EffectBaseOneInput<Proc::IResample, Proc::SettingsResample, Proc::IFactoryDataAudio>
{
public:
    FakeResample(const std::shared_ptr<CallLog>& log, bool holdsBack)
        : EffectBaseOneInput(nullptr), log(log), holdsBack(holdsBack)
    {
    }

    void UpdateFormat(SP<Conf::IFormatCodecAudio>& format) override
    {
        Conf::SampleInfo merged = output;
        merged.MergeWith(format->GetSampleInfo());
        format->SetSampleInfo(merged);
    }
    void Init(const Conf::SampleInfo& newOutput) override
    {
        output = newOutput;
        log->Add("Init(" + std::to_string(output.GetSampleRate()) + ")");
    }
    void Reset() override
    {
        held.reset();
        log->Add("Reset");
    }

private:
    void Update() override { Init(settings.GetSampleInfo()); }
    void ProcessItem(SP<Proc::IDataAudio>& block) override
    {
        if (holdsBack)
            held.swap(block);
    }

    const std::shared_ptr<CallLog> log;
    const bool holdsBack;
    Conf::SampleInfo output;
    SP<Proc::IDataAudio> held;
};

/// Makes FakeResample under the name it is asked for; the name "other" gives an effect that is no resampler.
class FakeEngineFactory final : public Proc::IEffectFactory, public RefCountImpl
{
public:
    explicit FakeEngineFactory(const std::shared_ptr<CallLog>& log = std::make_shared<CallLog>(), bool holdsBack = true)
        : log(log), holdsBack(holdsBack)
    {
    }

    SP<Proc::IOneInputEffectVideo> CreateEffectVideo(const std::string&, const std::string&,
                                                     const SP<const Proc::IFactoryDataVideo>&) const override
    {
        return nullptr;
    }
    SP<Proc::IOneInputEffectAudio> CreateEffectAudio(const std::string& classId, const std::string& implName,
                                                     const SP<const Proc::IFactoryDataAudio>&) const override
    {
        log->Add(classId + "/" + implName);
        if (implName == "other")
            return new OtherEffect;
        return new FakeResample(log, holdsBack);
    }
    SP<Proc::ITwoInputEffectVideo> CreateTwoInputEffectVideo(const std::string&, const std::string&,
                                                             const SP<const Proc::IFactoryDataVideo>&) const override
    {
        return nullptr;
    }
    SP<Proc::IEffect> CreateEffect(const std::string&, const Core::Property&, const SP<Proc::IStream>&,
                                   const std::string&, const SP<const Proc::IFactoryDataVideo>&) const override
    {
        return nullptr;
    }
    std::vector<std::string> ListVideoImplementations(const std::string&) const override { return {}; }
    std::vector<std::string> ListAudioImplementations(const std::string&) const override { return {}; }

private:
    struct OtherEffect final
        : Proc::EffectBaseOneInput<Proc::IOneInputEffectAudio, Proc::SettingsResample, Proc::IFactoryDataAudio>
    {
        OtherEffect() : EffectBaseOneInput(nullptr) {}
        void ProcessItem(SP<Proc::IDataAudio>&) override {}
    };

    const std::shared_ptr<CallLog> log;
    const bool holdsBack;
};

/// Cuts 16 bit mono blocks that abut.
class FakeFormatter final : public Proc::IAudioFormatter, public RefCountImpl
{
public:
    explicit FakeFormatter(const std::shared_ptr<CallLog>& log) : log(log) {}

    void Initialize(const Core::Property& settings) override { log->Add("Initialize(" + settings.GetName() + ")"); }
    Core::Property GetSettings() const override { return Core::Property(CLASS_ID); }
    void Push(SP<Proc::IDataAudio>& block) override
    {
        if (samples.empty())
            start = block->GetPTS();
        info = block->GetSampleInfo();
        const auto* data = reinterpret_cast<const int16_t*>(block->GetConstAudioRef().data);
        samples.insert(samples.end(), data, data + block->GetSampleCount());
        block.reset();
    }
    SP<Proc::IDataAudio> Get(avTime duration, bool flush) override
    {
        auto count = static_cast<size_t>(duration * info.GetSampleRate() / 1000000);
        if (flush)
            count = std::min(count, samples.size());
        if (samples.empty() || count > samples.size())
            return nullptr;
        const SP<Proc::DataAudioFF> block = MakeAudio(info, static_cast<int>(count), 0, start);
        std::copy_n(samples.begin(), count, reinterpret_cast<int16_t*>(block->GetAudioRef().data));
        samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
        start += block->GetDuration();
        return block;
    }
    void Reset(avTime time) override
    {
        samples.clear();
        log->Add("Reset(" + PrintMs(time) + ")");
    }

private:
    const std::shared_ptr<CallLog> log;
    std::deque<int16_t> samples;
    Conf::SampleInfo info;
    avTime start = 0; // of the samples held
};

/// Hands blocks on as they are.
class FakePassing final : public Proc::IAudioFormatter, public RefCountImpl
{
public:
    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(CLASS_ID); }
    void Push(SP<Proc::IDataAudio>& block) override { held.swap(block); }
    SP<Proc::IDataAudio> Get(avTime, bool) override { return std::exchange(held, nullptr); }
    void Reset(avTime) override { held.reset(); }

private:
    SP<Proc::IDataAudio> held;
};

class FakeAlgorithmFactory final : public Proc::IAlgorithmFactory, public RefCountImpl
{
public:
    explicit FakeAlgorithmFactory(const std::shared_ptr<CallLog>& log = std::make_shared<CallLog>(), bool cuts = true)
        : log(log), cuts(cuts)
    {
    }

    SP<Proc::IAudioFormatter> CreateAudioFormatter(const std::string& implName) const override
    {
        log->Add("IAudioFormatter/" + implName);
        if (cuts)
            return new FakeFormatter(log);
        return new FakePassing;
    }

private:
    const std::shared_ptr<CallLog> log;
    const bool cuts;
};

} // namespace Tessor::Test
