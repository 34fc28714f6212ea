#include "Proc/Filters/Filters/Cutting/DataSkipperStreamImpl.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/NotImplemented.h"

#include <glog/logging.h>
#include <string>

extern "C"
{
#include <libavutil/mathematics.h>
}

namespace Tessor::Proc
{

namespace
{

/// Of the pixels alone: what lies between rows may differ, and after the last one of a cropped frame there may be no
/// memory at all.
uint64_t HashPlane(const Details::PlaneTemplate<true>& plane)
{
    std::string pixels;
    pixels.reserve(plane.GetRowBytes() * plane.GetHeight());
    for (size_t y = 0; y < plane.GetHeight(); ++y)
        pixels.append(reinterpret_cast<const char*>(plane.GetOffsetPtr(0, y)), plane.GetRowBytes());
    return std::hash<std::string>()(pixels);
}

uint64_t HashPicture(const SP<IDataVideo>& frame)
{
    if (!frame)
        return 0;
    const IDataVideo& picture = *frame;
    uint64_t sum = 0;
    for (int i = 0, count = GetPlanesCount(picture); i < count; ++i)
        sum += HashPlane(picture.GetPlane(i).MakePositive());
    return sum;
}

template <class Item>
void LogTimes(const SP<Item>& original, avTime pts, avTime duration)
{
    VLOG(31) << "PTS=" << T2S(original->GetPTS()) << ", Dur=" << T2S(original->GetDuration()) << " --> PTS=" << T2S(pts)
             << ", Dur=" << T2S(duration);
}

} // namespace

template <class IStreamThis>
DataSkipperStreamImpl<IStreamThis>::DataSkipperStreamImpl(const SP<IStreamThis>& source,
                                                          const SP<CutIntervals>& intervals)
    : PassThrough<IStreamThis>(source, "DataSkipperStreamImpl", FRAME_ALLOC_NONE), SkipperMediaType<IStreamThis>(
                                                                                       source),
      intervals(intervals)
{
}

template <>
SP<IDataPacket> DataSkipperStreamImpl<IStreamRaw>::ProcessPacket(const SP<IDataPacket>& original,
                                                                 const SP<IDataPacket>& cut)
{
    LogTimes(original, cut->GetPTS(), cut->GetDuration());
    ++itemsDelivered;
    return cut;
}

template <>
SP<IDataVideo> DataSkipperStreamImpl<IStreamVideo>::ProcessPacket(const SP<IDataVideo>& original,
                                                                  const SP<IDataVideo>& cut)
{
    const avTime pts = cut->GetPTS();
    const avTime duration = cut->GetDuration();
    if (startPts == NoTime)
        startPts = pts;
    const uint64_t hash = HashPicture(cut);
    if (hash == lastHash)
    {
        VLOG(31) << "Got the same picture, added dur(" << T2S(duration) << ") to pts (" << T2S(lastPts) << ")";
        avTime& covered = processedPkts[lastPts];
        covered = AddTime(covered, duration);
        return nullptr;
    }
    processedPkts[pts] = duration;
    lastPts = pts;
    lastHash = hash;
    cut->SetPTS(GetEvenTime());
    cut->SetDuration(NoTime);
    LogTimes(original, cut->GetPTS(), cut->GetDuration());
    ++itemsDelivered;
    return cut;
}

template <class IStreamThis>
avTime DataSkipperStreamImpl<IStreamThis>::GetEvenTime() const
{
    using Video = Conf::IFormatCodecVideo;
    const SP<Conf::IFormatCodec> format = this->parentStream->GetFormatCodecBase();
    const Core::Property& properties = std::as_const(*format).GetProperties();
    const auto fps = properties.ChildExists(Video::TAG_FPS) ? properties[Video::TAG_FPS].GetRatio() : 0;
    if (fps.numerator() <= 0)
        Throw<Exception>(TESSOR_HERE, "Wrong fps!");
    const auto microseconds = static_cast<int64_t>(itemsDelivered) * SECOND;
    // From the start on and by the count, so that no rounding adds up; through 128 bits, as rates have large terms.
    return AddTime(startPts, av_rescale_rnd(microseconds, fps.denominator(), fps.numerator(), AV_ROUND_ZERO));
}

template <class IStreamThis>
void DataSkipperStreamImpl<IStreamThis>::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

template <class IStreamThis>
Core::Property DataSkipperStreamImpl<IStreamThis>::GetStatistic() const
{
    constexpr bool video = std::is_same_v<IStreamThis, IStreamVideo>;
    const std::string type = video ? "Tessor::Proc::IStreamVideo" : "Tessor::Proc::IStreamRaw";
    Core::Property statistic = this->parentStream->GetStatistic();
    statistic.Add(
        Core::MakeStatistics(Core::StatisticsTag("DataSkipperStreamImpl", "IStreamThis", type), 0, itemsDelivered));
    return statistic;
}

template <class IStreamThis>
auto DataSkipperStreamImpl<IStreamThis>::ReadInternal() -> SP<Item>
{
    while (!this->IsTerminated())
    {
        const SP<Item> item = this->parentStream->Read();
        if (!item)
            break;
        const SP<Item> cut = Cut(item);
        if (!cut)
            VLOG(31) << "PTS=" << T2S(item->GetPTS()) << " --> NULL";
        else if (const SP<Item> processed = ProcessPacket(item, cut))
            return processed;
    }
    return nullptr;
}

template <class IStreamThis>
void DataSkipperStreamImpl<IStreamThis>::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    this->parentStream->RequestSeek(intervals->Result2Source(target), partner);
}

template <class IStreamThis>
auto DataSkipperStreamImpl<IStreamThis>::Cut(const SP<Item>& item) const -> SP<Item>
{
    if constexpr (std::is_same_v<Item, IDataPacket>)
        return intervals->CutData(item);
    else
        return intervals->CutDataTemplate(item);
}

template class DataSkipperStreamImpl<IStreamVideo>;
template class DataSkipperStreamImpl<IStreamRaw>;

} // namespace Tessor::Proc
