#pragma once

#include "Proc/Filters/Filters/FilterHelpers.h"
#include "effects/MultiEffect.h"
#include "host/ImplNames.h"

#include <algorithm>
#include <stdexcept>

namespace Tessor::Proc
{

/// What the chains of the two kinds of effects differ in.
template <class Effect>
struct EffectChainTraits;

template <>
struct EffectChainTraits<IOneInputEffectVideo>
{
    using Multi = MultiEffectVideo;
    static constexpr bool mayRunOnGraphics = true;
    static std::vector<std::string> ListImplementations(const IEffectFactory& factory, const std::string& classId)
    {
        return factory.ListVideoImplementations(classId);
    }
};

template <>
struct EffectChainTraits<IOneInputEffectAudio>
{
    using Multi = MultiEffectAudio;
    static constexpr bool mayRunOnGraphics = false;
    static std::vector<std::string> ListImplementations(const IEffectFactory& factory, const std::string& classId)
    {
        return factory.ListAudioImplementations(classId);
    }
};

/// Effects that run one after the other, and the ways to make them. Belongs to a filter, whose lock it lies under.
template <class Effect>
class EffectChain
{
public:
    using Format = typename Effect::Format;

    explicit EffectChain(const SP<const IEffectFactory>& effectFactory) : effectFactory(effectFactory) {}

    void Add(const SP<Effect>& effect);
    void Add(const Core::Property& settings, const std::string& implementation);
    /// An effect with a range of its own; SettingsMultiEffect goes to AddMultiEffect.
    void Add(const Settings& settings, const std::string& implementation, const TimeToProgress& range);
    /// Makes and appends the members. Throws std::bad_cast for settings of another class. Where the members don't fit
    /// the default implementation, the chain stays as it is; a failure later on leaves those made so far.
    void AddMultiEffect(const Settings& settings, const std::string& implementation, const TimeToProgress& range);
    void Clear() { effects.clear(); }

    /// A copy: what runs may edit the chain that it runs in.
    std::vector<SP<Effect>> GetEffects() const { return effects; }
    /// What the first effect works in.
    FrameAllocType GetFrameAllocType() const
    {
        return effects.empty() ? FRAME_ALLOC_NONE : effects.front()->GetFrameAllocType();
    }
    std::vector<Core::Property> GetSettings() const;
    /// A copy of the parent's format as seen behind the chain; null for null.
    SP<Format> UpdateFormat(const SP<Format>& parentFormat) const;
    void AddStatistics(Core::Property& record) const;
    /// Asks all effects for their statistics, which some of them take as the moment to report.
    void PollStatistics() const;

private:
    using Traits = EffectChainTraits<Effect>;
    using Members = std::vector<std::shared_ptr<Settings>>;

    SP<Effect> Create(const std::string& classId, const std::string& implementation) const
    {
        return MultiEffectTraits<Effect>::Create(RequireFactory(effectFactory), classId, implementation, nullptr);
    }
    void CheckDefaultImplementations(const Members& members) const;

    const SP<const IEffectFactory> effectFactory;
    std::vector<SP<Effect>> effects; // in the order in which items pass them
};

template <class Effect>
void EffectChain<Effect>::Add(const SP<Effect>& effect)
{
    if (!effect)
        Throw<std::invalid_argument>(TESSOR_HERE, "effect is NULL.");
    if (auto* const multi = dynamic_cast<typename Traits::Multi*>(effect.get()))
        AddMultiEffect(multi->GetEffectSettings(), multi->GetImplName(), multi->GetTimeToProgress());
    else
        effects.push_back(effect);
}

template <class Effect>
void EffectChain<Effect>::Add(const Core::Property& settings, const std::string& implementation)
{
    const SP<Effect> effect = Create(settings.GetName(), implementation);
    effect->Initialize(settings);
    effects.push_back(effect);
}

template <class Effect>
void EffectChain<Effect>::Add(const Settings& settings, const std::string& implementation, const TimeToProgress& range)
{
    if (settings.GetClassId() == SettingsMultiEffect::CLASS_ID)
        return AddMultiEffect(settings, ImplNames::DEFAULT, {0, SECOND, TimeToProgress::Linear});
    const SP<Effect> effect = Create(settings.GetClassId(), implementation);
    effect->Initialise(settings);
    effect->SetTimeToProgress(range);
    effects.push_back(effect);
}

template <class Effect>
void EffectChain<Effect>::AddMultiEffect(const Settings& settings, const std::string& implementation,
                                         const TimeToProgress& range)
{
    const Members members = SettingsCast<SettingsMultiEffect>(settings).effects;
    if (std::find(members.begin(), members.end(), nullptr) != members.end())
        Throw<std::invalid_argument>(TESSOR_HERE, "A member of SettingsMultiEffect is NULL.");
    if (implementation == ImplNames::DEFAULT)
        CheckDefaultImplementations(members);
    for (const std::shared_ptr<Settings>& member : members)
    {
        effects.push_back(Create(member->GetClassId(), implementation));
        effects.back()->Initialise(*member);
        effects.back()->SetTimeToProgress(range);
    }
}

template <class Effect>
void EffectChain<Effect>::CheckDefaultImplementations(const Members& members) const
{
    size_t onGraphics = 0;
    for (const std::shared_ptr<Settings>& member : members)
    {
        const std::vector<std::string> names =
            Traits::ListImplementations(RequireFactory(effectFactory), member->GetClassId());
        if (names.empty())
            Throw<EffectException>(TESSOR_HERE, "There is no any implementation for " + member->GetClassId());
        onGraphics += names.front() == ImplNames::OGL ? 1 : 0;
    }
    // A default chain runs wholly on the graphics side or wholly off it.
    if (Traits::mayRunOnGraphics && onGraphics != 0 && onGraphics != members.size())
        Throw<EffectException>(TESSOR_HERE, "Settings are not all of the same type for default impl settings");
}

template <class Effect>
std::vector<Core::Property> EffectChain<Effect>::GetSettings() const
{
    std::vector<Core::Property> trees;
    for (const SP<Effect>& effect : GetEffects())
        trees.push_back(effect->GetSettings());
    return trees;
}

template <class Effect>
auto EffectChain<Effect>::UpdateFormat(const SP<Format>& parentFormat) const -> SP<Format>
{
    if (!parentFormat)
        return nullptr;
    SP<Format> format = parentFormat->Clone();
    for (const SP<Effect>& effect : GetEffects())
        effect->UpdateFormat(format);
    return format;
}

template <class Effect>
void EffectChain<Effect>::AddStatistics(Core::Property& record) const
{
    for (const SP<Effect>& effect : GetEffects())
        record.Add(effect->GetStatistic());
}

template <class Effect>
void EffectChain<Effect>::PollStatistics() const
{
    for (const SP<Effect>& effect : GetEffects())
        effect->GetStatistic();
}

} // namespace Tessor::Proc
