#pragma once

#include "Proc/Settings/SettingsDeinterlace.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/GraphRunner.h"

namespace Tessor::Host
{

/// One progressive frame of every interlaced one, at once and with its times; progressive frames pass.
///
/// libavfilter's deinterlacers wait for the next frame, of which the kept field needs only a hint of motion. Most
/// filters have no place for a frame that comes late, so here every frame is followed by a twin of itself, which counts
/// as progressive and costs nothing.
class Deinterlacer final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectVideo, Proc::SettingsDeinterlace, Proc::IFactoryDataVideo>
{
public:
    explicit Deinterlacer(const SP<const Proc::IFactoryDataVideo>& data);

    void ReleaseInternalData() override { runner.Reset(); }

private:
    void Update() override;
    void ProcessItem(SP<Proc::IDataVideo>& frame) override;

    GraphRunner runner;
};

} // namespace Tessor::Host
