#pragma once

#include "effects/IEffectFactory.h"
#include "effects/IOneInputEffect.h"

namespace Tessor::Proc
{

/// Brings frames into the memory that an effect works in, by converters that it makes when they are first needed and
/// then keeps. Belongs to a filter, whose lock it lies under.
class FrameAllocReconciler
{
public:
    /// The warnings are logged after a transfer; null for none.
    explicit FrameAllocReconciler(const SP<const IEffectFactory>& effectFactory, const char* downloadWarning = nullptr,
                                  const char* uploadWarning = nullptr)
        : effectFactory(effectFactory), downloadWarning(downloadWarning), uploadWarning(uploadWarning)
    {
    }

    /// The frame is not null. Throws ProcException for memory that can't be reconciled.
    void Reconcile(SP<IDataVideo>& frame, FrameAllocType required);

    /// Asks the converters for their statistics, which some effects take as the moment to report.
    void PollStatistics() const;

private:
    void Transfer(SP<IDataVideo>& frame, SP<IOneInputEffectVideo>& converter, const std::string& classId,
                  const char* warning) const;

    const SP<const IEffectFactory> effectFactory;
    const char* const downloadWarning;
    const char* const uploadWarning;
    // Made on first need, not initialised by settings, kept for the life of the filter.
    SP<IOneInputEffectVideo> frameUploader;
    SP<IOneInputEffectVideo> frameDownloader;
};

} // namespace Tessor::Proc
