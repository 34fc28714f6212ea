#pragma once

#include "Proc/Settings/SettingsFade.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/ColorspaceConverter.h"

namespace Tessor::Host
{

/// How much is left at that time of the range: 0 nothing, 1 all. Outside of the range it stays as it was at the bound.
double GetFadeLevel(Proc::SettingsFade::Direction direction, const Proc::TimeToProgress& range, avTime time);

/// Pictures from or to black, by the time of each frame; alpha stays. Pictures whose components are not plain are
/// converted to a plain format.
class FadeVideo final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectVideo, Proc::SettingsFade, Proc::IFactoryDataVideo>
{
public:
    explicit FadeVideo(const SP<const Proc::IFactoryDataVideo>& data);

    void ReleaseInternalData() override { plain.ReleaseInternalData(); }
    void UpdateFormat(SP<Conf::IFormatCodecVideo>& format) override { plain.UpdateFormat(format); }

private:
    void ProcessItem(SP<Proc::IDataVideo>& frame) override;

    ColorspaceConverter plain;
};

/// Sound from or to silence. Every sample has the level of its own time, whatever block it comes in.
class FadeAudio final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectAudio, Proc::SettingsFade, Proc::IFactoryDataAudio>
{
public:
    explicit FadeAudio(const SP<const Proc::IFactoryDataAudio>& data) : EffectBaseOneInput(data) {}

private:
    void ProcessItem(SP<Proc::IDataAudio>& block) override;
    long long FindFirstSample(const Proc::IDataAudio& block) const;

    // The end of the last block: times of blocks are rounded, and those that abut go on counting where it ended.
    long long nextSample = 0; // counted from time 0
    int rate = 0;             // 0 before the first block
};

} // namespace Tessor::Host
