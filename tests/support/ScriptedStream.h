#pragma once

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "tests/support/CallLog.h"
#include "tests/support/FakeItems.h"
#include "tests/support/ReadAll.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <optional>

namespace Tessor::Test
{

/// A source that delivers the items of a script. A seek takes effect in DoSeek; packets start at the last key frame at
/// or before the target, decoded items at the one that holds it. Every read makes a new object. What is asked of it,
/// but for reads and questions, is written to its log. Threads: any may read and seek, as of a demuxer.
template <class Kind>
class ScriptedStream : public Kind, public RefCountImpl
{
public:
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    /// The rate is that of audio: mono of 16 bits.
    static SP<ScriptedStream> Create(const std::string& text, int rate = 48000)
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

    void Initialize(const Core::Property& settings) override { Note("Initialize(" + settings.GetName() + ")"); }
    Core::Property GetSettings() const override { return Core::Property("Scripted"); }
    avTime GetDuration() const override { return duration; }
    avTime GetPosition() override
    {
        const Lock lock(mutex);
        if (lastEnd != NoTime)
            return lastEnd;
        const auto item = std::find_if(script.begin() + static_cast<std::ptrdiff_t>(next), script.end(),
                                       [](const ScriptItem& i) { return !i.throws; });
        if (item == script.end())
            return NoTime;
        return item->position != NoTime ? item->position : item->pts != NoTime ? item->pts : item->dts;
    }
    SP<Proc::IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime target, SP<Proc::IStream> partner) override
    {
        const Lock lock(mutex);
        Note("RequestSeek(" + PrintMs(target) + (partner ? ",partner)" : ")"));
        terminated = false;
        seekTarget = target;
    }
    void DoSeek() override
    {
        const Lock lock(mutex);
        Note("DoSeek");
        if (seekTarget)
            next = FindSeekPlace(*seekTarget);
        seekTarget.reset();
        lastEnd = NoTime;
    }
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override
    {
        Core::Property statistics = Core::GetRootItem();
        statistics.Add(Core::MakeStatistics("Scripted", 0, static_cast<unsigned long>(readCount)));
        return statistics;
    }
    void Terminate() override
    {
        Note("Terminate");
        terminated = true;
    }
    bool IsTerminated() const override { return terminated; }
    void ReleaseInternalData() override { Note("ReleaseInternalData"); }
    void Accept(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "Scripted", FRAME_ALLOC_CPU, nullptr);
    }
    SP<Item> Read() override
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
    SP<Format> GetFormatCodec() const override { return format; }

    /// The stream's end where no other duration is set; NoTime is allowed.
    void SetDuration(avTime newDuration) { duration = newDuration; }
    void SetFormat(const SP<Format>& newFormat) { format = newFormat; }
    std::string TakeLog() { return log->Take(); }
    int GetReadCount() const { return readCount; }

    FrameAllocType memory = FRAME_ALLOC_CPU;                    ///< of frames
    std::shared_ptr<CallLog> log = std::make_shared<CallLog>(); ///< several streams may write to one

protected:
    ScriptedStream(const std::string& text, const SP<Format>& format) : script(ParseScript(text)), format(format)
    {
        for (const ScriptItem& item : script)
            if (!item.throws)
                duration = std::max(duration, AddTime(item.pts, item.duration));
        if constexpr (std::is_same_v<Kind, Proc::IStreamAudio>)
            info = format->GetSampleInfo();
    }

    virtual SP<Item> MakeItem(const ScriptItem& item) const
    {
        if constexpr (std::is_same_v<Kind, Proc::IStreamVideo>)
            return CreateFrame(item, memory);
        else if constexpr (std::is_same_v<Kind, Proc::IStreamAudio>)
            return CreateBlock(item, info);
        else
            return nullptr; // ScriptedRaw makes its own
    }
    virtual size_t FindSeekPlace(avTime target) const
    {
        const auto holds = [target](const ScriptItem& item)
        { return !item.throws && AddTime(item.pts, item.duration) > target; };
        return static_cast<size_t>(std::find_if(script.begin(), script.end(), holds) - script.begin());
    }

    const Script script;

private:
    using Lock = std::lock_guard<std::mutex>;
    void Note(const std::string& call) { log->Add(call); }

    std::mutex mutex;
    avTime duration = 0;
    SP<Format> format;
    Conf::SampleInfo info;            // of audio
    size_t next = 0;                  // index of what is read next
    avTime lastEnd = NoTime;          // of the item read last, NoTime after a seek
    std::optional<avTime> seekTarget; // between RequestSeek and DoSeek
    std::atomic<bool> terminated{false};
    std::atomic<int> readCount{0}; // calls of Read
};

using ScriptedVideo = ScriptedStream<Proc::IStreamVideo>;
using ScriptedAudio = ScriptedStream<Proc::IStreamAudio>;

/// Compressed packets. Of other media than video every packet is a key frame.
class ScriptedRaw final : public ScriptedStream<Proc::IStreamRaw>
{
public:
    static SP<ScriptedRaw> Create(const std::string& text, MediaType type = MediaType::Video,
                                  const std::string& codecId = "h264");

    MediaType GetMediaType() const override { return type; }

    /// The bytes of all packets with that value ("=7", or the index).
    void SetPayload(int value, const Bytes& bytes) { payloads[value] = bytes; }

private:
    ScriptedRaw(const std::string& text, MediaType type, const SP<Conf::IFormatCodec>& format)
        : ScriptedStream(text, format), type(type)
    {
    }
    SP<Proc::IDataPacket> MakeItem(const ScriptItem& item) const override;
    size_t FindSeekPlace(avTime target) const override;
    bool IsKey(const ScriptItem& item) const { return !item.throws && (item.key || type != MediaType::Video); }

    const MediaType type;
    std::map<int, Bytes> payloads;
};

} // namespace Tessor::Test
