#pragma once

#include "Proc/Filters/Filters/Cutting/CutIntervals.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <map>

namespace Tessor::Proc
{

/// The kind of a filter's packets, as its source tells it; streams of other items have no such question.
template <class IStreamThis>
class SkipperMediaType
{
protected:
    explicit SkipperMediaType(const SP<IStreamThis>&) {}
};

template <>
class SkipperMediaType<IStreamRaw> : public virtual IStreamRaw
{
public:
    MediaType GetMediaType() const override { return type; }

protected:
    explicit SkipperMediaType(const SP<IStreamRaw>& source) : type(source->GetMediaType()) {}

private:
    const MediaType type;
};

/// Applies the cut to what a group's decoder delivers. Frames (IStreamVideo) get the even times of a constant frame
/// rate, which an encoder wants, and a picture that repeats the one before is folded into it:
///
///     decoded    A 0-40   B 40-80   B 80-120   C 120-160
///     delivered  A 0      B 40      C 80                    no durations
///     times      0: 40    40: 80    120: 40                 what the encoded packets get back
///
/// Packets (IStreamRaw) are only cut. Used by one thread at a time.
template <class IStreamThis>
class TESSOR_API DataSkipperStreamImpl final : public PassThrough<IStreamThis>,
                                               public SkipperMediaType<IStreamThis>,
                                               public RefCountImpl
{
public:
    using Item = typename IStreamThis::Item;

    DataSkipperStreamImpl(const SP<IStreamThis>& source, const SP<CutIntervals>& intervals);

    /// One entry a frame delivered: its time in the result, and the time that it covers with all repeats.
    std::map<avTime, avTime> GetProcessedPktsTimes() const { return processedPkts; }
    /// What is delivered for an item: the cut form with its final times, or null for a repeat. Throws Exception
    /// "Wrong fps!" for frames of a stream without a frame rate.
    SP<Item> ProcessPacket(const SP<Item>& original, const SP<Item>& cut);
    avTime GetSourcePosition() { return this->parentStream->GetPosition(); }

private:
    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<typename IStreamThis::Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }
    Core::Property GetStatistic() const override;
    SP<Item> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    SP<Item> Cut(const SP<Item>& item) const;
    avTime GetEvenTime() const;

    const SP<CutIntervals> intervals;
    uint64_t itemsDelivered = 0; // for statistics, and the clock of the even times
    std::map<avTime, avTime> processedPkts;
    avTime lastPts = NoTime;  // the entry that repeats are added to
    uint64_t lastHash = 0;    // of the picture delivered last
    avTime startPts = NoTime; // where the even times start: the first frame's time in the result
};

template <>
SP<IDataVideo> DataSkipperStreamImpl<IStreamVideo>::ProcessPacket(const SP<IDataVideo>&, const SP<IDataVideo>&);
template <>
SP<IDataPacket> DataSkipperStreamImpl<IStreamRaw>::ProcessPacket(const SP<IDataPacket>&, const SP<IDataPacket>&);
extern template class DataSkipperStreamImpl<IStreamVideo>;
extern template class DataSkipperStreamImpl<IStreamRaw>;

} // namespace Tessor::Proc
