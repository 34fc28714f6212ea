#pragma once

#include "effects/IEffectFactory.h"
#include "effects/IOneInputEffect.h"
#include "effects/ITwoInputEffectVideo.h"
#include "ffhost/registry/RegistryEntry.h"

namespace Tessor::Host
{

/// Makes the effects of this host, by tables that feed creation and lists alike. Threads: any; an effect belongs to the
/// caller that asked for it.
class TESSOR_API EffectFactory final : public Proc::IEffectFactory, public RefCountImpl
{
public:
    using Name = const std::string&;
    using VideoData = const SP<const Proc::IFactoryDataVideo>&;
    using AudioData = const SP<const Proc::IFactoryDataAudio>&;

    static SP<EffectFactory> Create() { return SP<EffectFactory>(new EffectFactory); }

    SP<Proc::IOneInputEffectVideo> CreateEffectVideo(Name classId, Name implName, VideoData data) const override;
    SP<Proc::IOneInputEffectAudio> CreateEffectAudio(Name classId, Name implName, AudioData data) const override;
    /// There are none.
    SP<Proc::ITwoInputEffectVideo> CreateTwoInputEffectVideo(Name classId, Name implName,
                                                             VideoData data) const override;
    /// A tree without a name leaves the defaults. The range of the effect is the whole of the parent; null has none.
    SP<Proc::IEffect> CreateEffect(Name classId, const Core::Property& settings, const SP<Proc::IStream>& parent,
                                   Name implName, VideoData data) const override;
    std::vector<std::string> ListVideoImplementations(Name classId) const override;
    std::vector<std::string> ListAudioImplementations(Name classId) const override;

    std::vector<RegistryEntry> List() const;

private:
    EffectFactory() = default;
};

} // namespace Tessor::Host
