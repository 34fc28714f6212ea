#include "tests/support/ScriptedStream.h"

#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/Visitors.h"

#include <algorithm>

namespace Tessor::Test
{

template <class Kind>
SP<ScriptedStream<Kind>> ScriptedStream<Kind>::Create(const std::string& text, int rate)
{
    const SP<Format> format = Format::Create();
    if constexpr (std::is_same_v<Kind, Proc::IStreamVideo>)
    {
        format->InitByPixelAspect(16, 8, 1, 1);
        format->SetPixelFormat(PixFmt::GRAY8);
    }
    if constexpr (std::is_same_v<Kind, Proc::IStreamAudio>)
        format->SetSampleInfo({Conf::SampleFormats::S16, rate, Conf::ChannelLayout::Mono});
    return SP<ScriptedStream>(new ScriptedStream(text, format));
}

template <class Kind>
ScriptedStream<Kind>::ScriptedStream(const std::string& text, const SP<Format>& format)
    : script(ParseScript(text)), format(format)
{
    for (const ScriptItem& item : script)
        if (!item.throws)
            duration = std::max(duration, AddTime(item.pts, item.duration));
    if constexpr (std::is_same_v<Kind, Proc::IStreamAudio>)
        info = format->GetSampleInfo();
}

template <class Kind>
avTime ScriptedStream<Kind>::GetPosition()
{
    const Lock lock(mutex);
    if (lastEnd != NoTime || next == script.size())
        return lastEnd;
    const auto item = std::find_if(script.begin() + static_cast<std::ptrdiff_t>(next), script.end(),
                                   [](const ScriptItem& i) { return !i.throws; });
    if (item == script.end())
        return NoTime;
    return item->position != NoTime ? item->position : item->pts != NoTime ? item->pts : item->dts;
}

template <class Kind>
void ScriptedStream<Kind>::RequestSeek(avTime target, SP<Proc::IStream> partner)
{
    const Lock lock(mutex);
    Note("RequestSeek(" + PrintMs(target) + (partner ? ",partner)" : ")"));
    terminated = false;
    seekTarget = target;
}

template <class Kind>
void ScriptedStream<Kind>::DoSeek()
{
    const Lock lock(mutex);
    Note("DoSeek");
    if (seekTarget)
        next = FindSeekPlace(*seekTarget);
    seekTarget.reset();
    lastEnd = NoTime;
}

template <class Kind>
Core::Property ScriptedStream<Kind>::GetStatistic() const
{
    Core::Property statistics = Core::GetRootItem();
    statistics.Add(Core::MakeStatistics("Scripted", 0, static_cast<unsigned long>(readCount)));
    return statistics;
}

template <class Kind>
void ScriptedStream<Kind>::Terminate()
{
    Note("Terminate");
    terminated = true;
}

template <class Kind>
void ScriptedStream<Kind>::Accept(Proc::IStreamVisitor& visitor)
{
    Proc::Visitors::ProcessStandartVisitors(visitor, "Scripted", FRAME_ALLOC_CPU, nullptr);
}

template <class Kind>
auto ScriptedStream<Kind>::Read() -> SP<Item>
{
    const Lock lock(mutex);
    ++readCount;
    if (next == script.size())
        return nullptr;
    const ScriptItem& item = script[next++];
    if (item.throws)
        Throw<Proc::FilterException>(TESSOR_HERE, "scripted failure");
    const avTime end = AddTime(item.pts, item.duration);
    lastEnd = end == NoTime || lastEnd == NoTime ? end : std::max(end, lastEnd);
    return MakeItem(item);
}

template <class Kind>
auto ScriptedStream<Kind>::MakeItem(const ScriptItem& item) const -> SP<Item>
{
    if constexpr (std::is_same_v<Kind, Proc::IStreamVideo>)
        return CreateFrame(item, memory);
    else if constexpr (std::is_same_v<Kind, Proc::IStreamAudio>)
        return CreateBlock(item, info);
    else
        return CreateSubtitle(item);
}

template <class Kind>
size_t ScriptedStream<Kind>::FindSeekPlace(avTime target) const
{
    const auto holds = [target](const ScriptItem& item)
    { return !item.throws && AddTime(item.pts, item.duration) > target; };
    return static_cast<size_t>(std::find_if(script.begin(), script.end(), holds) - script.begin());
}

template <>
SP<Proc::IDataPacket> ScriptedStream<Proc::IStreamRaw>::MakeItem(const ScriptItem&) const
{
    return nullptr; // ScriptedRaw makes its own
}

template class ScriptedStream<Proc::IStreamVideo>;
template class ScriptedStream<Proc::IStreamAudio>;
template class ScriptedStream<Proc::IStreamSubtitle>;

SP<ScriptedRaw> ScriptedRaw::Create(const std::string& text, MediaType type, const std::string& codecId)
{
    SP<Conf::IFormatCodec> format = Conf::IFormatCodecVideo::Create();
    if (type == MediaType::Audio)
        format = Conf::IFormatCodecAudio::Create();
    else if (type == MediaType::Subtitle)
        format = Conf::IFormatCodecSubtitle::Create();
    format->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, codecId);
    return SP<ScriptedRaw>(new ScriptedRaw(text, type, format));
}

ScriptedRaw::ScriptedRaw(const std::string& text, MediaType type, const SP<Conf::IFormatCodec>& format)
    : ScriptedStream(text, format), type(type)
{
}

SP<Proc::IDataPacket> ScriptedRaw::MakeItem(const ScriptItem& item) const
{
    ScriptItem packet = item;
    packet.key = IsKey(item);
    const auto payload = payloads.find(item.value);
    return CreateFakePacket(packet, type, payload == payloads.end() ? nullptr : &payload->second);
}

size_t ScriptedRaw::FindSeekPlace(avTime target) const
{
    size_t place = 0;
    for (size_t i = 0; i < script.size(); ++i)
        if (IsKey(script[i]) && script[i].pts <= target)
            place = i;
    return place;
}

} // namespace Tessor::Test
