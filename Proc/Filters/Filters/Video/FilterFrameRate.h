#pragma once

#include "Proc/Filters/Filters/Video/IFilterFrameRate.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <mutex>

namespace Tessor::Proc
{

/// Lays a grid of equal slots over a video stream and delivers for each slot the frame that covers it best: the first
/// one of several that cover it alike, a neighbour where there is a gap.
///
///     frames   |---a---|---b---|---c---|---d---|
///     slots    |-----a-----|-----c-----|---d---|   slot n is the time from n to n + 1 frames of the rate
///
/// A seek into a slot cuts the first result's start to the target; the last slot ends with the stream. A stream of
/// unknown duration is at its end at once.
class TESSOR_API FilterFrameRate : public IFilterFrameRate,
                                   public PassThrough<IStreamVideo, IStreamVideoEx>,
                                   public RefCountImpl
{
public:
    /// 25 frames per second.
    static SP<IFilterFrameRate> Create(const SP<IStreamVideo>& parent);
    /// Takes SettingsFilterFrameRate; others throw std::bad_cast.
    static SP<IStreamVideoEx> CreateEx(const SP<IStreamVideo>& parent, const Settings& settings);

protected:
    explicit FilterFrameRate(const SP<IStreamVideo>& parent);

    void Initialize(const Core::Property& settings) override;
    void Initialize(const Settings& settings) override;
    void Initialize(const SettingsFilterFrameRate& settings);
    Core::Property::Ratio GetFrameRate() const override;
    SP<IDataVideo> ReadInternal() override;

    /// For the adjusting form, which has state under the same mutex.
    std::unique_lock<std::recursive_mutex> LockMutex() const { return std::unique_lock(mutex); }

    /// The parent's next frame; the time that it takes is not counted as this filter's.
    SP<IDataVideo> ReadParent();

    long long statisticsTime = 0;      // of reads, microseconds; under the mutex
    unsigned long statisticsCount = 0; // frames delivered; under the mutex

private:
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    SP<Conf::IFormatCodecVideo> GetFormatCodec() const override;

    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    /// The time at which a slot starts. Throws FilterException when the rate is no rate.
    avTime GetSlotBegin(int64_t slot) const;
    /// The number of the slot that holds a time, under the same condition.
    int32_t GetSlotAt(avTime time) const;
    /// The frame that covers the slot best, out of the one in hand and those after it. Reads to the end of the slot.
    SP<IDataVideo> ChooseFrame(avTime slotBegin, avTime slotEnd, avTime limit);

    mutable std::recursive_mutex mutex; // guards all members below, also while the parent is read
    Core::Property::Ratio frameRate;    // of the output
    int32_t frameNumber = 0;            // the slot that the next read fills
    avTime seekTime = NoTime;           // the last target: nothing starts before it
    avTime lastEnd = NoTime;            // of the slot delivered last; NoTime after a seek
    SP<IDataVideo> current;             // the source frame in hand: it may reach into the next slot
};

} // namespace Tessor::Proc
