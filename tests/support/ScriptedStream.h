#pragma once

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamSubtitle.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "tests/support/CallLog.h"
#include "tests/support/FakeItems.h"
#include "tests/support/Script.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <optional>

namespace Tessor::Test
{

/// A source that delivers the items of a script. A seek takes effect in DoSeek; packets start at the last key frame at
/// or before the target, decoded items at the one that holds it. Every read makes a new object. What is asked of it,
/// but for reads and questions, is written to its log.
template <class Kind>
class ScriptedStream : public Kind, public RefCountImpl
{
public:
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    void Initialize(const Core::Property& settings) override { Note("Initialize(" + settings.GetName() + ")"); }
    Core::Property GetSettings() const override { return Core::Property("Scripted"); }
    avTime GetDuration() const override { return duration; }
    avTime GetPosition() override;
    SP<Proc::IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime target, SP<Proc::IStream> partner) override;
    void DoSeek() override;
    bool GetSeekResult() override { return seekResult; }
    Core::Property GetStatistic() const override;
    void Terminate() override;
    bool IsTerminated() const override { return terminated; }
    void ReleaseInternalData() override { Note("ReleaseInternalData"); }
    void Accept(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "Scripted", FRAME_ALLOC_CPU, nullptr);
    }
    SP<Item> Read() override;
    SP<Format> GetFormatCodec() const override { return format; }

    /// The stream's end where no other duration is set; NoTime is allowed.
    void SetDuration(avTime newDuration) { duration = newDuration; }
    void SetFormat(const SP<Format>& newFormat) { format = newFormat; }
    void SetSeekResult(bool result) { seekResult = result; }
    /// Several streams may write to one log; the name tells them apart.
    void SetLog(const std::shared_ptr<CallLog>& newLog, const std::string& newName)
    {
        log = newLog;
        name = newName;
    }

    std::string TakeLog() { return log->Take(); }
    int GetReadCount() const { return readCount; }

protected:
    ScriptedStream(const std::string& text, const SP<Format>& format);

    virtual SP<Item> MakeItem(const ScriptItem& item) const = 0;
    virtual size_t FindSeekPlace(avTime target) const;

    const Script script;

private:
    void Note(const std::string& call) { log->Add(name.empty() ? call : name + "." + call); }

    avTime duration = 0;
    SP<Format> format;
    std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    std::string name;                 // in the log, of one of several streams
    size_t next = 0;                  // index of what is read next
    avTime lastEnd = NoTime;          // of the item read last, NoTime behind a seek
    std::optional<avTime> seekTarget; // between RequestSeek and DoSeek
    bool seekResult = true;           // what GetSeekResult answers
    std::atomic<bool> terminated{false};
    std::atomic<int> readCount{0}; // calls of Read
};

/// Decoded frames of one size.
class ScriptedVideo final : public ScriptedStream<Proc::IStreamVideo>
{
public:
    static SP<ScriptedVideo> Create(const std::string& text, int width = 16, int height = 8);

private:
    ScriptedVideo(const std::string& text, int width, int height);
    SP<Proc::IDataVideo> MakeItem(const ScriptItem& item) const override;

    const int width;
    const int height;
};

/// Decoded blocks of 16 bit samples.
class ScriptedAudio final : public ScriptedStream<Proc::IStreamAudio>
{
public:
    static SP<ScriptedAudio> Create(const std::string& text, int rate = 48000,
                                    Conf::ChannelLayout layout = Conf::ChannelLayout::Mono);

private:
    ScriptedAudio(const std::string& text, const Conf::SampleInfo& info);
    SP<Proc::IDataAudio> MakeItem(const ScriptItem& item) const override;

    const Conf::SampleInfo info;
};

class ScriptedSubtitle final : public ScriptedStream<Proc::IStreamSubtitle>
{
public:
    static SP<ScriptedSubtitle> Create(const std::string& text);

private:
    explicit ScriptedSubtitle(const std::string& text);
    SP<Proc::IDataSubtitle> MakeItem(const ScriptItem& item) const override { return FakeSubtitle::Create(item); }
};

/// Compressed packets. Of other media than video every packet is a key frame.
class ScriptedRaw final : public ScriptedStream<Proc::IStreamRaw>
{
public:
    static SP<ScriptedRaw> Create(const std::string& text, MediaType type = MediaType::Video,
                                  const std::string& codecId = "h264");

    MediaType GetMediaType() const override { return type; }

    /// The bytes of all packets with that value ("=7", or the index).
    void SetPayload(int value, const std::vector<uint8_t>& bytes) { payloads[value] = bytes; }

private:
    ScriptedRaw(const std::string& text, MediaType type, const SP<Conf::IFormatCodec>& format);
    SP<Proc::IDataPacket> MakeItem(const ScriptItem& item) const override;
    size_t FindSeekPlace(avTime target) const override;
    bool IsKey(const ScriptItem& item) const { return !item.throws && (item.key || type != MediaType::Video); }

    const MediaType type;
    std::map<int, std::vector<uint8_t>> payloads;
};

template <class Kind>
ScriptedStream<Kind>::ScriptedStream(const std::string& text, const SP<Format>& format)
    : script(ParseScript(text)), format(format)
{
    for (const ScriptItem& item : script)
        if (!item.throws)
            duration = std::max(duration, AddTime(item.pts, item.duration));
}

template <class Kind>
avTime ScriptedStream<Kind>::GetPosition()
{
    if (lastEnd != NoTime || next == script.size())
        return lastEnd;
    const auto item = std::find_if(script.begin() + next, script.end(), [](const ScriptItem& i) { return !i.throws; });
    if (item == script.end())
        return NoTime;
    return item->position != NoTime ? item->position : item->pts != NoTime ? item->pts : item->dts;
}

template <class Kind>
void ScriptedStream<Kind>::RequestSeek(avTime target, SP<Proc::IStream> partner)
{
    Note("RequestSeek(" + PrintMs(target) + (partner ? ",partner)" : ")"));
    terminated = false;
    seekTarget = target;
}

template <class Kind>
void ScriptedStream<Kind>::DoSeek()
{
    Note("DoSeek");
    if (seekTarget)
        next = FindSeekPlace(*seekTarget);
    seekTarget.reset();
    lastEnd = NoTime;
}

template <class Kind>
size_t ScriptedStream<Kind>::FindSeekPlace(avTime target) const
{
    const auto holds = [target](const ScriptItem& item)
    { return !item.throws && AddTime(item.pts, item.duration) > target; };
    return static_cast<size_t>(std::find_if(script.begin(), script.end(), holds) - script.begin());
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
auto ScriptedStream<Kind>::Read() -> SP<Item>
{
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

} // namespace Tessor::Test
