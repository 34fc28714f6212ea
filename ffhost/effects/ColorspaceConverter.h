#pragma once

#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/FramePool.h"
#include "ffhost/effects/Scaler.h"

namespace Tessor::Host
{

/// Brings frames to one of the accepted pixel formats, the one that loses least; frames with alpha go to one with alpha
/// where there is one. Matrix and range stay with the picture, also through a form without them, so that the way back
/// is the same.
class ColorspaceConverter final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectVideo, Proc::SettingsColorspaceConverter,
                                      Proc::IFactoryDataVideo>
{
public:
    explicit ColorspaceConverter(const SP<const Proc::IFactoryDataVideo>& data);

    void ReleaseInternalData() override;
    void UpdateFormat(SP<Conf::IFormatCodecVideo>& format) override;

private:
    void ProcessItem(SP<Proc::IDataVideo>& frame) override;
    PixFmt Choose(PixFmt source) const;

    Scaler scaler;
    FramePool pool;
};

} // namespace Tessor::Host
