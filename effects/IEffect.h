#pragma once

#include "Fnd/Property/Property.h"
#include "Fnd/RefCount.h"
#include "Proc/Settings/Settings.h"
#include "effects/TimeToProgress.h"
#include "media/items/FrameAllocType.h"
#include "media/items/IData.h"

#include <vector>

namespace Tessor::Proc
{

/// What works on items in passing. The order of the operations is part of the contract.
///
/// Threads: one at a time; filters call under their own lock.
class TESSOR_API IEffect : public virtual IRefCountable
{
public:
    /// The settings as a tree; its name is the effect's class id.
    virtual Core::Property GetSettings() const = 0;
    virtual void Initialize(const Core::Property& settings) = 0;
    /// Drops what the effect holds back of a stream; called on a seek and at the end of the effect's range.
    virtual void ReleaseInternalData() = 0;
    /// The form of timelines: all inputs in, one result out. Inputs and result may be null.
    virtual SP<IData> Apply(const std::vector<SP<IData>>& inputs) = 0;
    virtual Core::Property GetStatistic() const = 0;
    /// Throws std::bad_cast for settings of another class.
    virtual void Initialise(const Settings& settings) = 0;
    virtual const Settings& GetEffectSettings() const = 0;
    virtual Settings& GetEffectSettings() = 0;
    virtual TimeToProgress& GetTimeToProgress() = 0;
    virtual const TimeToProgress& GetTimeToProgress() const = 0;
    virtual void SetTimeToProgress(const TimeToProgress& range) = 0;
    /// The kind of frame memory in which the effect works.
    virtual FrameAllocType GetFrameAllocType() const = 0;
};

} // namespace Tessor::Proc
