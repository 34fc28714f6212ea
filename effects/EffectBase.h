#pragma once

#include "Fnd/Exception.h"
#include "Fnd/RefCount.h"
#include "Fnd/Statistics.h"
#include "Proc/Settings/SettingsTree.h"
#include "effects/IEffect.h"

#include <memory>
#include <type_traits>

namespace Tessor::Proc
{

/// What every effect has: typed settings, its range, the data of the host's factory, a record of statistics.
/// `Interface` is that of the kind of effect. Settings that are a SettingsTree give the effect its form as a tree;
/// others have none.
template <class Interface, class SettingsT, class FactoryData>
class EffectBase : public virtual Interface, public RefCountImpl
{
public:
    Core::Property GetSettings() const override
    {
        if constexpr (hasTree)
            return settings.ToProperty();
        else
            return Core::Property(SettingsT::CLASS_ID);
    }

    /// Throws EffectException for a tree of another class, SettingsException for values that are wrong.
    void Initialize(const Core::Property& tree) override
    {
        if (tree.GetName() != SettingsT::CLASS_ID)
            Throw<EffectException>(TESSOR_HERE,
                                   "Effect was initialized with incorrect class (" + tree.GetName() + ")!");
        if constexpr (hasTree)
        {
            SettingsT changed;
            changed.FromProperty(tree);
            Initialise(changed);
        }
    }

    void ReleaseInternalData() override {}
    Core::Property GetStatistic() const override
    {
        return Core::MakeStatistics(settings.GetClassId(), statisticsTime, statisticsCount);
    }
    void Initialise(const Settings& newSettings) override
    {
        settings = SettingsCast<SettingsT>(newSettings);
        Update();
    }
    const Settings& GetEffectSettings() const override { return settings; }
    Settings& GetEffectSettings() override { return settings; }
    TimeToProgress& GetTimeToProgress() override { return range; }
    const TimeToProgress& GetTimeToProgress() const override { return range; }
    void SetTimeToProgress(const TimeToProgress& newRange) override { range = newRange; }
    FrameAllocType GetFrameAllocType() const override { return FRAME_ALLOC_CPU; }

protected:
    explicit EffectBase(const SP<const FactoryData>& data) : data(data) {}

    /// The settings have been replaced.
    virtual void Update() {}

    const SP<const FactoryData> data; // of the host's factory; may be null
    SettingsT settings;
    TimeToProgress range; // a timeline writes it
    // of the items that the effect has delivered; microseconds
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;

private:
    static constexpr bool hasTree = std::is_base_of_v<SettingsTree, SettingsT>;
};

} // namespace Tessor::Proc
