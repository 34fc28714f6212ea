#pragma once

#include "Proc/Filters/Filters/Video/FilterFrameRate.h"

namespace Tessor::Proc
{

/// Keeps every frame of a stream, and moves those that would fall on the frame number of the one before them just far
/// enough to have a number of their own. Each frame lasts until the next one starts. A frame waits for its successor,
/// also across a seek: the one that waited is delivered first.
class TESSOR_API FilterFrameRateAdjust final : public FilterFrameRate
{
public:
    /// Takes SettingsFilterFrameRate; others throw std::bad_cast.
    static SP<IStreamVideoEx> Create(const SP<IStreamVideo>& parent, const Settings& settings);

private:
    using FilterFrameRate::FilterFrameRate;

    /// Throws boost::math's rounding error for a time that gives no frame number, or a rate by which none can be turned
    /// back into a time.
    SP<IDataVideo> ReadInternal() override;

    double GetRate() const;
    long long CalculateFrameNumber(avTime time) const;
    /// The least time that still rounds to the frame number, with a hundredth of a frame to spare.
    avTime CalculateMinimumTimestampForFrameNumber(long long number) const;
    void AdjustTimestamp(const IDataVideo& previous, IDataVideo& next) const;
    static void AdjustDuration(IDataVideo& previous, const IDataVideo& next);

    SP<IDataVideo> pending; // waits for its successor; under the mutex
};

} // namespace Tessor::Proc
