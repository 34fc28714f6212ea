#include "jobs/lists/TimecodeList.h"

#include "jobs/JobError.h"
#include "jobs/lists/Timecode.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

/// "001  AX  V  C  00:00:01:00 00:00:02:00 01:00:00:00 01:00:01:00"; transitions have a length after their letter.
struct Event
{
    std::string channel, transition;
    std::string in, out; ///< of the source
};

bool IsNumber(const std::string& word)
{
    return word.size() >= 3 && std::all_of(word.begin(), word.end(), [](unsigned char c) { return std::isdigit(c); });
}

/// Whether the line is an event at all; `event` is what it says where it can be read.
bool ReadEvent(const std::string& line, Event& event)
{
    const std::vector<std::string> words = Words(line);
    if (words.empty() || !IsNumber(words[0]))
        return false;
    if (words.size() >= 8)
        event = {words[2], words[3], words[words.size() - 4], words[words.size() - 3]};
    return true;
}

bool HasPicture(const Event& event)
{
    return event.channel.find('V') != std::string::npos || event.channel.starts_with('B');
}

Timecode MakeTimecode(const TimeContext& context)
{
    if (context.frameRateNum <= 0)
        throw JobError(JobError::BadRequest, "timecodes can't be counted: the file's frame rate is unknown");
    return {context.frameRateNum, context.frameRateDen};
}

/// The frame that the file's own timecode gives its first picture.
long long FirstFrame(const Timecode& timecode, const TimeContext& context)
{
    return timecode.ToFrame(context.timecode, false).value_or(0);
}

class EventReader
{
public:
    EventReader(const ListText& text, const TimeContext& context)
        : text(text), context(context), timecode(MakeTimecode(context)), first(FirstFrame(timecode, context))
    {
    }

    CutList Read()
    {
        for (line = 0; line < text.GetLines().size(); ++line)
            Take(Trimmed(text.GetLines()[line]));
        // events of sound repeat those of the picture
        list.ranges = pictures.empty() ? sound : pictures;
        return std::move(list);
    }

private:
    void Take(const std::string& current)
    {
        static const std::string name = "* FROM CLIP NAME:";
        Event event;
        if (current.starts_with("FCM:"))
            drop = current.find("NON") == std::string::npos;
        else if (current.starts_with(name) && last)
            last->back().title = Trimmed(current.substr(name.size()));
        else if (ReadEvent(current, event))
            Add(event);
    }

    void Add(const Event& event)
    {
        const Range range{ReadTime(event.in), ReadTime(event.out)};
        // an event of no length is what a transition begins with
        if (range.start == range.end)
            return;
        if (event.transition != "C")
            list.warnings.push_back(
                fmt::format("{}: the transition {} is made a cut", text.NameLine(line), event.transition));
        last = HasPicture(event) ? &pictures : &sound;
        const bool known =
            std::any_of(last->begin(), last->end(), [&](const AskedRange& asked) { return asked.range == range; });
        if (!known)
            last->push_back({range, "", text.NameLine(line)});
    }

    avTime ReadTime(const std::string& word) const
    {
        const std::optional<long long> frame = timecode.ToFrame(word, drop);
        if (!frame)
            text.Fail(line, word.empty() ? "number, reel, channel, transition and four timecodes are wanted"
                                         : "\"" + word + "\" is no timecode at this frame rate");
        if (*frame < first)
            text.Fail(line, "\"" + word + "\" is before the file's first timecode");
        // who counts frames means what is shown, whatever rounding there is in the file's own times
        const avTime time = timecode.ToTime(*frame - first);
        return context.nearestFrame ? context.nearestFrame(time) : AddTime(context.firstFrame, time);
    }

    const ListText& text;
    const TimeContext& context;
    const Timecode timecode;
    const long long first;
    size_t line = 0;
    bool drop = false; // as the list says of the timecodes that follow
    std::vector<AskedRange> pictures, sound;
    std::vector<AskedRange>* last = nullptr; // where the event is that a comment belongs to; null before the first one
    CutList list;
};

} // namespace

bool TimecodeList::IsIn(const ListText& text) const
{
    const std::string line = text.GetFirstLine('*');
    Event event;
    return line.starts_with("TITLE:") || line.starts_with("FCM:") || (ReadEvent(line, event) && !event.in.empty());
}

CutList TimecodeList::Read(const ListText& text, const TimeContext& context) const
{
    return EventReader(text, context).Read();
}

std::string TimecodeList::Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const
{
    const Timecode timecode = MakeTimecode(context);
    const bool drop = timecode.CanDrop();
    std::string text = fmt::format("TITLE: tessor\nFCM: {}\n\n", drop ? "DROP FRAME" : "NON-DROP FRAME");
    const long long first = FirstFrame(timecode, context);
    const auto name = [&](long long frame) { return timecode.ToName(frame, drop); };
    const auto number = [&](avTime time) { return timecode.ToFrame(SubTime(time, context.firstFrame)); };
    long long record = 0;
    for (size_t i = 0; i < ranges.size(); ++i)
    {
        const long long in = number(ranges[i].range.start), out = number(ranges[i].range.end);
        text += fmt::format("{:03}  AX       V     C        {} {} {} {}\n", i + 1, name(first + in), name(first + out),
                            name(record), name(record + out - in));
        record += out - in;
        if (!ranges[i].title.empty())
        {
            std::string title = ranges[i].title;
            std::replace(title.begin(), title.end(), '\n', ' ');
            text += "* FROM CLIP NAME: " + title + "\n";
        }
    }
    return text;
}

} // namespace Tessor::Jobs
