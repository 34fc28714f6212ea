#pragma once

#include "Proc/Settings/SettingsResizer.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "effects/IResize.h"
#include "ffhost/effects/AlphaScaler.h"
#include "ffhost/effects/ColorspaceConverter.h"
#include "ffhost/effects/FramePool.h"
#include "ffhost/effects/ResizeGeometry.h"
#include "ffhost/effects/Scaler.h"

namespace Tessor::Host
{

/// Resizes by libswscale, bicubic. The shape of a picture counts as it is shown, with the aspect of its pixels. Bars
/// are black, and transparent where the format has alpha. Pictures whose components are not plain are converted to
/// a plain format. Fields that are scaled together are lost: such pictures are no longer interlaced. To keep the motion
/// that they show, deinterlace first.
class Resizer final : public Proc::EffectBaseOneInput<Proc::IResize, Proc::SettingsResizer, Proc::IFactoryDataVideo>
{
public:
    explicit Resizer(const SP<const Proc::IFactoryDataVideo>& data);

    void ReleaseInternalData() override;
    void UpdateFormat(SP<Conf::IFormatCodecVideo>& format) override;

private:
    void ProcessItem(SP<Proc::IDataVideo>& frame) override;
    FramePtr Resize(const AVFrame& source, const ResizeGeometry& geometry);

    Scaler scaler;
    AlphaScaler alphaScaler;
    ColorspaceConverter plain;
    FramePool pool;
};

} // namespace Tessor::Host
