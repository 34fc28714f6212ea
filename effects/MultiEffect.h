#pragma once

#include "Proc/Settings/SettingsMultiEffect.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IEffectFactory.h"

#include <string>

namespace Tessor::Proc
{

template <class Interface>
struct MultiEffectTraits;

template <>
struct MultiEffectTraits<IOneInputEffectVideo>
{
    static SP<IOneInputEffectVideo> Create(const IEffectFactory& factory, const std::string& classId,
                                           const std::string& implName, const SP<const IFactoryDataVideo>& data)
    {
        return factory.CreateEffectVideo(classId, implName, data);
    }
};

template <>
struct MultiEffectTraits<IOneInputEffectAudio>
{
    static SP<IOneInputEffectAudio> Create(const IEffectFactory& factory, const std::string& classId,
                                           const std::string& implName, const SP<const IFactoryDataAudio>& data)
    {
        return factory.CreateEffectAudio(classId, implName, data);
    }
};

/// Several effects that run one after the other as one. It knows the name of the implementation that it was asked for;
/// its members are made of that one.
template <class Interface, class FactoryData>
class MultiEffect final : public EffectBaseOneInput<Interface, SettingsMultiEffect, FactoryData>
{
public:
    using Base = EffectBaseOneInput<Interface, SettingsMultiEffect, FactoryData>;
    using typename Base::Format;
    using typename Base::Item;

    MultiEffect(const SP<const IEffectFactory>& factory, const std::string& implName, const SP<const FactoryData>& data)
        : Base(data), factory(factory), implName(implName)
    {
    }

    const std::string& GetImplName() const { return implName; }

    void ReleaseInternalData() override
    {
        for (const SP<Interface>& member : GetMembers())
            member->ReleaseInternalData();
    }
    void SetTimeToProgress(const TimeToProgress& newRange) override
    {
        Base::SetTimeToProgress(newRange);
        for (const SP<Interface>& member : GetMembers())
            member->SetTimeToProgress(newRange);
    }
    FrameAllocType GetFrameAllocType() const override
    {
        return members.empty() ? FRAME_ALLOC_NONE : members.front()->GetFrameAllocType();
    }
    void UpdateFormat(SP<Format>& format) override
    {
        for (const SP<Interface>& member : GetMembers())
            member->UpdateFormat(format);
    }

private:
    void Update() override
    {
        std::vector<SP<Interface>> made; // complete before it counts: a member that fails leaves the former ones
        for (const std::shared_ptr<Settings>& member : this->settings.effects)
        {
            made.push_back(MultiEffectTraits<Interface>::Create(*factory, member->GetClassId(), implName, this->data));
            made.back()->Initialise(*member);
            made.back()->SetTimeToProgress(this->range);
        }
        members = std::move(made);
    }
    void ProcessItem(SP<Item>& item) override
    {
        for (const SP<Interface>& member : GetMembers())
            member->Process(item);
    }

    /// A copy: new settings, which a member may bring while it runs, replace them.
    std::vector<SP<Interface>> GetMembers() const { return members; }

    const SP<const IEffectFactory> factory;
    const std::string implName;
    std::vector<SP<Interface>> members; // of the settings as they stand
};

using MultiEffectVideo = MultiEffect<IOneInputEffectVideo, IFactoryDataVideo>;
using MultiEffectAudio = MultiEffect<IOneInputEffectAudio, IFactoryDataAudio>;

} // namespace Tessor::Proc
