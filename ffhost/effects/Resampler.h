#pragma once

#include "Proc/Settings/SettingsResample.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "effects/IResample.h"
#include "ffhost/effects/BlockPool.h"
#include "ffhost/effects/SampleClock.h"

#include <memory>

struct SwrContext;

namespace Tessor::Host
{

/// Converts rate, sample format and layout by libswresample. The first block keeps its time, the others follow the
/// samples; a gap in the source is one in the output. A change of the source's format loses nothing, a change of the
/// output's drops the few samples that the old conversion holds.
class Resampler final
    : public Proc::EffectBaseOneInput<Proc::IResample, Proc::SettingsResample, Proc::IFactoryDataAudio>
{
public:
    explicit Resampler(const SP<const Proc::IFactoryDataAudio>& data) : EffectBaseOneInput(data) {}

    void ReleaseInternalData() override { Reset(); }
    void UpdateFormat(SP<Conf::IFormatCodecAudio>& format) override;
    void Init(const Conf::SampleInfo& output) override;
    void Reset() override;

private:
    struct Deleter
    {
        void operator()(SwrContext* context) const;
    };

    void ProcessItem(SP<Proc::IDataAudio>& block) override;
    Conf::SampleInfo FindOutput(const Conf::SampleInfo& input) const;
    void Open(const Conf::SampleInfo& input, const Conf::SampleInfo& output);
    SP<Proc::IDataAudio> Convert(const Proc::AudioRef& input);
    SP<Proc::IDataAudio> Drain();

    std::unique_ptr<SwrContext, Deleter> context; // from source to target; null while there is nothing to convert
    Conf::SampleInfo source;
    Conf::SampleInfo target;
    BlockPool pool;    // of converted blocks
    SampleClock clock; // of what was delivered
};

} // namespace Tessor::Host
