#pragma once

#include "Proc/Settings/SettingsAVFilter.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "ffhost/effects/GraphRunner.h"

namespace Tessor::Host
{

/// Any chain of libavfilter as far as an effect can run it: one item for each. It may change size and format. A
/// chain that makes more items than it is given, or fewer, or moves them in time belongs in a GraphStream. Without a
/// chain items pass as they are.
template <class Interface, class FactoryData>
class AVFilterEffect final : public Proc::EffectBaseOneInput<Interface, Proc::SettingsAVFilter, FactoryData>
{
public:
    using Base = Proc::EffectBaseOneInput<Interface, Proc::SettingsAVFilter, FactoryData>;
    using typename Base::Format;
    using typename Base::Item;

    explicit AVFilterEffect(const SP<const FactoryData>& data) : Base(data) {}

    void ReleaseInternalData() override { runner.Reset(); }
    /// Throws EffectException where the chain can't work on the format. A format without size or rate stays as it is.
    void UpdateFormat(SP<Format>& format) override { runner.UpdateFormat(*format); }

private:
    /// Throws EffectException for settings that are no chain.
    void Update() override;
    void ProcessItem(SP<Item>& item) override;

    GraphRunner runner;
};

using AVFilterEffectVideo = AVFilterEffect<Proc::IOneInputEffectVideo, Proc::IFactoryDataVideo>;
using AVFilterEffectAudio = AVFilterEffect<Proc::IOneInputEffectAudio, Proc::IFactoryDataAudio>;

} // namespace Tessor::Host
