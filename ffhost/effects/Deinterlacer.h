#pragma once

#include "Proc/Settings/SettingsDeinterlace.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/GraphRunner.h"

namespace Tessor::Host
{

/// One progressive frame of every interlaced one, with its times; progressive frames pass. Every frame waits for the
/// one behind it; the last one comes out on a null frame.
class Deinterlacer final
    : public Proc::EffectBaseOneInput<Proc::IOneInputEffectVideo, Proc::SettingsDeinterlace, Proc::IFactoryDataVideo>
{
public:
    explicit Deinterlacer(const SP<const Proc::IFactoryDataVideo>& data);

    void ReleaseInternalData() override { runner.Reset(); }

private:
    void Update() override;
    void ProcessItem(SP<Proc::IDataVideo>& frame) override { runner.Process(frame); }

    GraphRunner runner;
};

} // namespace Tessor::Host
