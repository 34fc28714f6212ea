#pragma once

#include "Proc/Settings/SettingsEffectStabilizer.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/ColorspaceConverter.h"
#include "ffhost/effects/GraphRunner.h"

namespace Tessor::Host
{

/// Takes small movements of the camera out of the picture, frame by frame, each against the one before it. It works in
/// 8 bits; deeper pictures come back in their format, but no deeper than that. Pictures whose components are not plain
/// are converted to a plain format.
class Stabilizer final : public Proc::EffectBaseOneInput<Proc::IOneInputEffectVideo, Proc::SettingsEffectStabilizer,
                                                         Proc::IFactoryDataVideo>
{
public:
    explicit Stabilizer(const SP<const Proc::IFactoryDataVideo>& data);

    void ReleaseInternalData() override;
    void UpdateFormat(SP<Conf::IFormatCodecVideo>& format) override { plain.UpdateFormat(format); }

private:
    void Update() override;
    void ProcessItem(SP<Proc::IDataVideo>& frame) override;

    ColorspaceConverter plain;
    GraphRunner runner;
};

} // namespace Tessor::Host
