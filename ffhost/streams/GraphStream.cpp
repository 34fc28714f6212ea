#include "ffhost/streams/GraphStream.h"

#include "Fnd/Statistics.h"
#include "Fnd/TimerSimple.h"

namespace Tessor::Host
{

using namespace Proc;

template <class Kind, class KindEx>
SP<KindEx> GraphStream<Kind, KindEx>::Create(const SP<Kind>& parent, const Settings& settings)
{
    return SP<KindEx>(new GraphStream(parent, settings));
}

template <class Kind, class KindEx>
GraphStream<Kind, KindEx>::GraphStream(const SP<Kind>& parent, const Settings& settings) : Base(parent, "GraphStream")
{
    GraphStream::Initialize(settings);
}

template <class Kind, class KindEx>
void GraphStream<Kind, KindEx>::Initialize(const Core::Property& newSettings)
{
    SettingsAVFilter read;
    read.FromProperty(newSettings);
    Initialize(read);
}

template <class Kind, class KindEx>
void GraphStream<Kind, KindEx>::Initialize(const Settings& newSettings)
{
    const auto& wanted = SettingsCast<SettingsAVFilter>(newSettings);
    runner.SetChain(wanted.graph); // may throw, and the settings stay then
    settings = wanted;
}

template <class Kind, class KindEx>
Core::Property GraphStream<Kind, KindEx>::GetStatistic() const
{
    Core::Property statistic = Base::parentStream->GetStatistic();
    statistic.Add(Core::MakeStatistics("virtual Core::Property Tessor::Host::GraphStream::GetStatistic() const",
                                       chainTime, itemCount));
    return statistic;
}

template <class Kind, class KindEx>
void GraphStream<Kind, KindEx>::ReleaseInternalData()
{
    Base::ReleaseInternalData();
    Reset();
}

template <class Kind, class KindEx>
auto GraphStream<Kind, KindEx>::GetFormatCodec() const -> SP<Format>
{
    const SP<Format> format = Base::parentStream->GetFormatCodec()->Clone();
    runner.UpdateFormat(*format);
    return format;
}

template <class Kind, class KindEx>
auto GraphStream<Kind, KindEx>::ReadInternal() -> SP<Item>
{
    // Only after a seek of a chain that moves items: then they were read from the beginning on.
    SP<Item> item = ReadNext();
    while (item && seekTime != NoTime && AddTime(item->GetPTS(), item->GetDuration()) <= seekTime)
        item = ReadNext();
    seekTime = NoTime;
    itemCount += item ? 1 : 0;
    return item;
}

template <class Kind, class KindEx>
void GraphStream<Kind, KindEx>::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    Reset();
    seekTime = runner.KeepsTimes() || target <= 0 ? NoTime : target;
    Base::parentStream->RequestSeek(runner.KeepsTimes() ? target : 0, partner);
}

template <class Kind, class KindEx>
auto GraphStream<Kind, KindEx>::ReadNext() -> SP<Item>
{
    // No chain is no detour: items stay as they are.
    if (runner.GetChain().empty())
        return Base::parentStream->Read();
    SP<Item> item = Take();
    while (!item && !ended)
    {
        Give(Base::parentStream->Read());
        item = Take();
    }
    return item;
}

template <class Kind, class KindEx>
void GraphStream<Kind, KindEx>::Give(SP<Item> item)
{
    const Core::TimerSimple timer(chainTime);
    ended = !item;
    runner.Push(item);
} // the item is gone now, so that filters may work in its memory

template <class Kind, class KindEx>
auto GraphStream<Kind, KindEx>::Take() -> SP<Item>
{
    const Core::TimerSimple timer(chainTime);
    return PullItem();
}

// Frames whose times were moved wait in the spacer for the next one, which tells how long they last. The end of the
// chain is told to it as well, so that the last frame comes out; while the chain only wants more input the spacer keeps
// it.
template <>
SP<IDataVideo> GraphStreamVideo::PullItem()
{
    FramePtr frame = runner.Pull();
    while (!runner.KeepsTimes() && (frame || runner.IsEmpty()))
    {
        const bool last = !frame;
        frame = spacer.Exchange(std::move(frame));
        if (frame || last)
            break;
        frame = runner.Pull();
    }
    return frame ? WrapFrame(std::move(frame)) : nullptr;
}

// Durations of sound follow from its samples, so that nothing has to wait.
template <>
SP<IDataAudio> GraphStreamAudio::PullItem()
{
    std::vector<FramePtr> parts(1);
    parts[0] = runner.Pull();
    return parts[0] ? runner.MakeBlock(parts) : nullptr;
}

template <class Kind, class KindEx>
void GraphStream<Kind, KindEx>::Reset()
{
    runner.Reset();
    spacer.Reset();
    ended = false;
}

template class GraphStream<IStreamVideo, IStreamVideoEx>;
template class GraphStream<IStreamAudio, IStreamAudioEx>;

} // namespace Tessor::Host
