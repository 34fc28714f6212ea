#include "Proc/Filters/Filters/Video/FilterFrameRate.h"

#include "Fnd/TimerSimple.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Settings/DataHelper.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <glog/logging.h>

namespace Tessor::Proc
{

namespace
{

/// Throws FilterException for a rate by which times can't be divided: the products of the denominator with a second
/// have to fit 64 bits.
void CheckRate(const Core::Property::Ratio& rate)
{
    if (rate.numerator() < 1 || rate.denominator() < 1 ||
        rate.denominator() > std::numeric_limits<int64_t>::max() / SECOND)
        Throw<FilterException>(TESSOR_HERE, "The frame rate is out of range");
}

} // namespace

SP<IFilterFrameRate> FilterFrameRate::Create(const SP<IStreamVideo>& parent)
{
    return SP<IFilterFrameRate>(new FilterFrameRate(parent));
}

SP<IStreamVideoEx> FilterFrameRate::CreateEx(const SP<IStreamVideo>& parent, const Settings& settings)
{
    const SP<FilterFrameRate> filter(new FilterFrameRate(parent));
    filter->Initialize(settings);
    return filter;
}

FilterFrameRate::FilterFrameRate(const SP<IStreamVideo>& parent)
    : PassThrough(parent, "FilterFrameRate", FRAME_ALLOC_NONE)
{
    FilterFrameRate::Initialize(CreateDataHelper(CLASS_ID, CLASS_ID));
}

void FilterFrameRate::Initialize(const Core::Property& settings)
{
    CheckClassName(TESSOR_HERE, settings, CLASS_ID);
    Initialize(SettingsFilterFrameRate(settings[Conf::IFormatCodecVideo::TAG_FPS].GetRatio()));
}

void FilterFrameRate::Initialize(const Settings& settings)
{
    Initialize(SettingsCast<SettingsFilterFrameRate>(settings));
}

void FilterFrameRate::Initialize(const SettingsFilterFrameRate& settings)
{
    Core::Property::Ratio rate = settings.frameRate;
    if (rate == SettingsFilterFrameRate::MARK_USE_ORIGINAL_FRAMERATE)
    {
        const SP<Conf::IFormatCodecVideo> format = parentStream->GetFormatCodec();
        if (!format)
            Throw<FilterException>(TESSOR_HERE, "Input codec format is null");
        const Core::Property& properties = format->GetProperties();
        rate = properties[Conf::IFormatCodecVideo::TAG_FPS].GetRatio();
    }
    const auto lock = LockMutex();
    frameRate = rate;
}

Core::Property FilterFrameRate::GetSettings() const
{
    return MakeSettings(GetFrameRate());
}

Core::Property::Ratio FilterFrameRate::GetFrameRate() const
{
    const auto lock = LockMutex();
    return frameRate;
}

SP<Conf::IFormatCodecVideo> FilterFrameRate::GetFormatCodec() const
{
    const SP<Conf::IFormatCodecVideo> parentFormat = parentStream->GetFormatCodec();
    if (!parentFormat)
        Throw<FilterException>(TESSOR_HERE, "Input codec format is null");
    const SP<Conf::IFormatCodecVideo> format = parentFormat->Clone();
    format->GetProperties().SetChildT(Conf::IFormatCodecVideo::TAG_FPS, GetFrameRate());
    return format;
}

Core::Property FilterFrameRate::GetStatistic() const
{
    const auto lock = LockMutex();
    return AddStatistics(parentStream->GetStatistic(), Core::StatisticsTag("FilterFrameRate"), statisticsTime,
                         statisticsCount);
}

void FilterFrameRate::ReleaseInternalData()
{
    {
        const auto lock = LockMutex();
        current.reset();
        frameNumber = 0;
    }
    PassThrough::ReleaseInternalData(); // takes the lock of reads, which comes before this one
}

avTime FilterFrameRate::GetSlotBegin(int64_t slot) const
{
    CheckRate(frameRate);
    // from the start in one go, so that roundings don't add up
    return av_rescale(slot, frameRate.denominator() * SECOND, frameRate.numerator());
}

int32_t FilterFrameRate::GetSlotAt(avTime time) const
{
    CheckRate(frameRate);
    return static_cast<int32_t>(
        av_rescale_rnd(time, frameRate.numerator(), frameRate.denominator() * SECOND, AV_ROUND_DOWN));
}

SP<IDataVideo> FilterFrameRate::ReadInternal()
{
    const auto lock = LockMutex();
    const Core::TimerSimple timer(statisticsTime);
    // the lowest number where it is unknown, so that the stream is at its end then
    const avTime total = parentStream->GetDuration();
    if (lastEnd >= total)
    {
        current.reset();
        return nullptr;
    }
    if (!current && !(current = ReadParent()))
        return nullptr;

    const avTime slotBegin = GetSlotBegin(frameNumber);
    const avTime slotEnd = GetSlotBegin(int64_t{frameNumber} + 1);
    const avTime begin = std::max(slotBegin, seekTime);
    const avTime limit = std::min(total, slotEnd);
    const SP<IDataVideo> best = ChooseFrame(slotBegin, slotEnd, limit);
    const SP<IDataVideo> result = best ? best->Clone(0) : nullptr; // the next slot may take the same frame
    if (result)
    {
        result->SetPTS(begin);
        result->SetDuration(SubTime(limit, begin));
        VLOG(4000) << "ReFrame: time=" << begin << ", duration=" << result->GetDuration();
    }
    else
        VLOG(4000) << "ReFrame: NULL (eof?)\n";
    frameNumber = static_cast<int32_t>(int64_t{frameNumber} + 1); // wraps; as an int it must not overflow
    ++statisticsCount;
    lastEnd = limit;
    return result;
}

SP<IDataVideo> FilterFrameRate::ReadParent()
{
    long long parentTime = 0;
    SP<IDataVideo> frame;
    {
        const Core::TimerSimple timer(parentTime);
        frame = parentStream->Read();
    }
    statisticsTime -= parentTime; // taken off in advance: the caller's timer runs on
    return frame;
}

SP<IDataVideo> FilterFrameRate::ChooseFrame(avTime slotBegin, avTime slotEnd, avTime limit)
{
    SP<IDataVideo> best;
    avTime bestOverlap = std::numeric_limits<avTime>::min();
    do
    {
        const avTime begin = current->GetPTS();
        const avTime end = AddTime(begin, current->GetDuration());
        // below 0 where the frame lies beside the slot: then it is how far
        const avTime overlap = SubTime(std::min(limit, end), std::max(begin, slotBegin));
        if (!best || overlap > bestOverlap)
        {
            best = current;
            bestOverlap = overlap;
        }
        // nothing that follows can cover more; this one stays in hand for the next slot
        if (begin >= slotEnd || end >= limit)
            break;
        SP<IDataVideo> next = ReadParent();
        if (!next)
            break;
        current = std::move(next);
    } while (!IsTerminated());
    return best;
}

void FilterFrameRate::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    const auto lock = LockMutex();
    frameNumber = GetSlotAt(target);
    avTime parentTarget = GetSlotBegin(frameNumber);
    // Times of the grid are rounded; one of them may lie a little before its own slot when it is divided again.
    const int64_t nextSlot = int64_t{frameNumber} + 1;
    if (GetSlotBegin(nextSlot) == target)
    {
        parentTarget = target;
        frameNumber = static_cast<int32_t>(nextSlot);
    }
    lastEnd = NoTime;
    seekTime = target;
    current.reset();
    parentStream->RequestSeek(parentTarget, partner);
}

} // namespace Tessor::Proc
