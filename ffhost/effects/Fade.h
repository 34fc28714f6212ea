#pragma once

#include "Proc/Settings/SettingsFade.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"

namespace Tessor::Host
{

/// How much is left at that time of the range: 0 nothing, 1 all. Outside of the range it stays as it was at the bound.
double GetFadeLevel(Proc::SettingsFade::Direction direction, const Proc::TimeToProgress& range, avTime time);

/// Pictures from or to black, by the time of each frame; alpha stays. Formats that are not of whole bytes throw
/// EffectException.
class FadeVideo final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectVideo, Proc::SettingsFade, Proc::IFactoryDataVideo>
{
public:
    explicit FadeVideo(const SP<const Proc::IFactoryDataVideo>& data) : EffectBaseOneInput(data) {}

private:
    void ProcessItem(SP<Proc::IDataVideo>& frame) override;
};

/// Sound from or to silence. The level moves from sample to sample, in a line between the ends of a block.
class FadeAudio final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectAudio, Proc::SettingsFade, Proc::IFactoryDataAudio>
{
public:
    explicit FadeAudio(const SP<const Proc::IFactoryDataAudio>& data) : EffectBaseOneInput(data) {}

private:
    void ProcessItem(SP<Proc::IDataAudio>& block) override;
};

} // namespace Tessor::Host
