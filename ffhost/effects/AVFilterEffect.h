#pragma once

#include "Proc/Settings/SettingsAVFilter.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/FrameSpacer.h"
#include "ffhost/effects/GraphRunner.h"
#include "ffhost/effects/IFlow.h"

namespace Tessor::Host
{

/// Any chain of libavfilter; what may change the number and the times of items runs in full only as a flow. It may
/// change size, rate and format; a source that changes its format in mid-stream gets a new chain, and what the old one
/// held is delivered before. No chain passes items as they are.
template <class Interface, class FactoryData>
class AVFilterEffect final : public Proc::EffectBaseOneInput<Interface, Proc::SettingsAVFilter, FactoryData>,
                             public IFlow<typename Interface::Item>
{
public:
    using Base = Proc::EffectBaseOneInput<Interface, Proc::SettingsAVFilter, FactoryData>;
    using typename Base::Format;
    using typename Base::Item;

    explicit AVFilterEffect(const SP<const FactoryData>& data) : Base(data) {}

    void ReleaseInternalData() override;
    /// Throws EffectException where the chain can't work on the format. A format without size or rate stays as it is.
    void UpdateFormat(SP<Format>& format) override;

    void Give(const SP<Item>& item) override;
    SP<Item> Take() override;
    bool KeepsTimes() const override { return keepsTimes; }

private:
    /// Throws EffectException for settings that are no chain.
    void Update() override;
    void ProcessItem(SP<Item>& item) override;

    SP<Item> TakeMade();

    GraphRunner runner;
    FrameSpacer spacer;     // of frames that a chain moves
    bool keepsTimes = true; // the chain of the settings does
    SP<Item> passing;       // given and not yet taken where there is no chain
};

using AVFilterEffectVideo = AVFilterEffect<Proc::IOneInputEffectVideo, Proc::IFactoryDataVideo>;
using AVFilterEffectAudio = AVFilterEffect<Proc::IOneInputEffectAudio, Proc::IFactoryDataAudio>;

} // namespace Tessor::Host
