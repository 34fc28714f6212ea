#include "tests/Filters/CutModel.h"

#include "Proc/Filters/Filters/PacketQueue.h"
#include "media/IFormatCodecVideo.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>

extern "C"
{
#include <libavcodec/packet.h>
}

namespace Tessor::Test
{

using namespace Proc;
using Video = Conf::IFormatCodecVideo;

// ---- kept time

bool KeptTime::Holds(avTime t) const
{
    return std::any_of(pieces.begin(), pieces.end(), [=](auto& p) { return p.first <= t && t < p.second; });
}

avTime KeptTime::Within(avTime start, avTime end) const
{
    avTime sum = 0;
    for (const auto& [from, to] : pieces)
        sum += std::max<avTime>(0, std::min(end, to) - std::max(start, from));
    return sum;
}

void KeptTime::Add(avTime start, avTime end)
{
    const auto touches = [&](auto& p) { return p.first <= end && start <= p.second; };
    for (const auto& piece : pieces)
        if (touches(piece))
            std::tie(start, end) = std::pair(std::min(start, piece.first), std::max(end, piece.second));
    std::erase_if(pieces, touches);
    pieces.insert(std::upper_bound(pieces.begin(), pieces.end(), std::pair(start, end)), {start, end});
}

// ---- tracks

namespace
{

constexpr size_t fatInQueue = 3; // so many packets of an oversized track fill a queue

/// One group from display time `first` on: leading pictures, the key picture, then runs of B-frames behind what follows
/// them.
void AddGroup(Script& packets, avTime first, int count, int leading, int run)
{
    std::vector<int> shown{leading};
    for (int i = 0; i < leading; ++i)
        shown.push_back(i);
    for (int i = leading + 1; i < count; i += run + 1)
    {
        const int last = std::min(i + run, count - 1);
        shown.push_back(last);
        for (int b = i; b < last; ++b)
            shown.push_back(b);
    }
    for (const int place : shown)
    {
        ScriptItem& item = packets.emplace_back();
        item.key = place == leading;
        item.pts = first + place * ModelTrack::picture;
    }
}

} // namespace

ModelTrack ModelTrack::MakeVideo(Dice& dice, avTime duration)
{
    ModelTrack track;
    track.recodable = dice.OneIn(2);
    track.oversized = dice.OneIn(10);
    const bool open = track.open = !track.oversized && dice.OneIn(3);
    const bool keysOnly = !open && !track.oversized && dice.OneIn(6);
    track.codec = !track.recodable ? Video::CODEC_ID_H265 : open ? Video::CODEC_ID_MPEG1VIDEO : Video::CODEC_ID_VP8;
    const auto longest = keysOnly ? 1 : dice.Roll(1, dice.OneIn(3) ? 120 : 12);
    const int run = static_cast<int>(dice.Roll(0, 2));
    for (avTime at = 0; at < duration;)
    {
        const int count = static_cast<int>(dice.Roll((longest + 1) / 2, longest));
        const int leading = open && at > 0 ? static_cast<int>(dice.Roll(0, std::min(2, count - 1))) : 0;
        AddGroup(track.packets, at, count, leading, run);
        at += count * picture;
    }
    for (size_t i = 0; i < track.packets.size(); ++i)
    {
        ScriptItem& item = track.packets[i];
        item.dts = static_cast<avTime>(i) * picture - (run > 0 || open ? picture : 0);
        item.duration = picture;
        if (keysOnly && i > 0 && dice.OneIn(10))
            item.pts = item.dts = track.packets[i - 1].pts;
        if (!track.recodable && !item.key && dice.OneIn(40))
            item.pts = item.dts = NoTime;
    }
    if (!track.recodable && dice.OneIn(6)) // begins in the middle of a group
        track.packets.front().key = false;
    track.early = track.recodable ? static_cast<int>(dice.Roll(0, 1)) : 0;
    return track;
}

ModelTrack ModelTrack::MakeSound(Dice& dice, avTime duration)
{
    ModelTrack track;
    track.type = MediaType::Audio;
    track.codec = "aac";
    const avTime length = std::vector<avTime>{64000, 96123, 250000, 1000000}[static_cast<size_t>(dice.Roll(0, 3))];
    const bool faulty = dice.OneIn(2);
    for (avTime at = 0; at < duration; at += length)
    {
        const avTime back =
            faulty && at > length && dice.OneIn(12) ? (dice.OneIn(2) ? length : length + length / 4) : 0;
        ScriptItem& item = track.packets.emplace_back();
        item.pts = item.dts = at - back;
        item.duration = length;
        item.key = true;
    }
    track.early = static_cast<int>(dice.Roll(0, 2));
    return track;
}

ModelTrack ModelTrack::MakeSubtitles(Dice& dice, avTime duration)
{
    ModelTrack track;
    track.type = MediaType::None;
    track.codec = "subrip";
    for (avTime at = dice.Roll(0, 5000) * ms; at < duration; at += dice.Roll(1, 9000) * ms)
    {
        ScriptItem& item = track.packets.emplace_back();
        item.pts = item.dts = at;
        item.duration = dice.Roll(1, 4000) * ms;
        item.key = true;
    }
    return track;
}

size_t ModelTrack::Land(avTime target) const
{
    std::vector<size_t> entries{0};
    for (size_t i = 1; i < packets.size(); ++i)
    {
        if (!packets[i].key)
            continue;
        if (packets[i].pts > target)
            break;
        if (packets[i].pts > packets[entries.back()].pts) // of equal ones the first
            entries.push_back(i);
    }
    return entries[entries.size() - std::min<size_t>(entries.size(), 1 + static_cast<size_t>(early))];
}

avTime ModelTrack::FirstShown(size_t key) const
{
    avTime first = packets[key].pts;
    for (size_t i = key + 1; i < packets.size() && !packets[i].key; ++i)
        first = packets[i].pts == NoTime ? first : std::min(first, packets[i].pts);
    return first;
}

Script ModelTrack::Lay(size_t from, const KeptTime& kept) const
{
    Script read;
    avTime end = NoTime, droppedBefore = NoTime;
    for (size_t i = from; i < packets.size(); ++i)
    {
        ScriptItem item = packets[i];
        item.value = static_cast<int>(i);
        const avTime itemEnd = AddTime(item.pts, item.duration);
        if (item.key)
        {
            const avTime first = type == MediaType::Video ? FirstShown(i) : item.pts;
            const bool starts =
                std::any_of(kept.pieces.begin(), kept.pieces.end(), [&](auto& p) { return p.first == item.pts; });
            const bool entered = (i == from && i > 0) || (starts && kept.Within(first, item.pts) == 0);
            droppedBefore = entered ? item.pts : NoTime;
            item.position = entered ? item.pts : first;
            end = entered ? itemEnd : std::max(end, itemEnd);
        }
        else if (item.pts != NoTime)
        {
            if (item.pts < droppedBefore)
                continue;
            end = std::max(end, itemEnd);
            item.position = end;
        }
        read.push_back(item);
    }
    read.front().position = read.front().pts;
    return read;
}

namespace
{

struct Group
{
    Script items;
    avTime start, stop;
};

std::vector<Group> FindGroups(const Script& read)
{
    std::vector<Group> groups;
    for (auto begin = read.begin(); begin != read.end();)
    {
        const auto end = std::find_if(begin + 1, read.end(), [](const ScriptItem& i) { return i.key; });
        avTime stop = begin->position;
        for (auto item = begin; item != end; ++item)
            stop = item->position == NoTime ? stop : item->position;
        groups.push_back({{begin, end}, begin->position, end == read.end() ? stop : end->position});
        begin = end;
    }
    return groups;
}

} // namespace

bool ModelTrack::Widen(KeptTime& kept) const
{
    if (type != MediaType::Video || (recodable && !oversized))
        return false;
    std::vector<Group> groups = FindGroups(Lay(0, kept));
    groups.back().stop = MAX_DURATION; // a piece behind the end starts with the last key picture, too
    for (const Group& group : groups)
    {
        const avTime within = kept.Within(group.start, group.stop), key = group.items.front().pts;
        // What is shown before the key picture leans on the group before.
        const bool fromBefore = kept.Holds(group.start - 1) || !group.items.front().key;
        const bool leading = !fromBefore && kept.Within(group.start, key) > 0;
        if (within <= 0 || (within == group.stop - group.start && !leading))
            continue;
        if (recodable && group.items.size() < fatInQueue)
            continue;
        kept.Add(fromBefore ? group.start : leading ? group.start - 1 : key, group.stop);
        return true;
    }
    return false;
}

Script ModelTrack::Cut(size_t from, const KeptTime& kept) const
{
    Script result;
    const auto deliver = [&](ScriptItem item, bool recoded)
    {
        const avTime time = item.pts != NoTime ? item.pts : item.dts;
        const avTime removed = time == NoTime ? 0 : time - kept.Within(0, time);
        item.value &= 0xFF;
        item.dts = recoded ? NoTime : SubTime(item.dts, removed);
        item.pts = SubTime(item.pts, removed);
        result.push_back(item);
    };
    for (const Group& group : FindGroups(Lay(from, kept)))
    {
        const bool whole = group.stop <= group.start ? kept.Holds(group.start)
                                                     : kept.Within(group.start, group.stop) == group.stop - group.start;
        Script items = group.items;
        const bool recoded = type == MediaType::Video && !whole;
        if (recoded)
            std::stable_sort(items.begin(), items.end(), [](auto& a, auto& b) { return a.pts < b.pts; });
        for (const ScriptItem& item : items)
            if (whole || kept.Holds(item.pts))
                deliver(item, recoded);
    }
    return result;
}

// ---- streams

class ModelStream final : public IStreamRaw, public RefCountImpl
{
public:
    ModelStream(ModelFile& file, size_t index) : file(file), index(index), read(Track().Lay(0, file.kept))
    {
        format->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, Track().codec);
        format->GetProperties().SetChildT(Video::TAG_FPS, Core::Property::Ratio(5, 1));
    }

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return {}; }
    avTime GetDuration() const override { return file.duration; }
    avTime GetPosition() override
    {
        const Lock lock(file.mutex);
        return end != NoTime || next == read.size() ? end : read[next].position;
    }
    SP<IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime newTarget, SP<IStream>) override
    {
        const Lock lock(file.mutex);
        target = std::min(newTarget, file.duration);
    }
    void DoSeek() override { file.Seek(index); }
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override { return {}; }
    void Terminate() override {}
    bool IsTerminated() const override { return false; }
    void ReleaseInternalData() override {}
    void Accept(IStreamVisitor&) override {}
    MediaType GetMediaType() const override { return Track().type; }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return format; }
    SP<IDataPacket> Read() override
    {
        const Lock lock(file.mutex);
        if (file.failing > 0 && file.dice.OneIn(file.failing))
            Throw<FilterException>(TESSOR_HERE, "scripted failure");
        if (next == read.size())
            return nullptr;
        const ScriptItem& item = read[next++];
        end = std::max(end, AddTime(item.pts, item.duration));
        return Track().oversized ? MakeFat(item) : CreateFakePacket(item, Track().type);
    }

    void MoveTo(avTime place)
    {
        const size_t from = Track().Land(place);
        read = Track().Lay(from, file.kept);
        next = 0;
        end = target = NoTime;
    }

    avTime target = NoTime; // between RequestSeek and DoSeek

private:
    using Lock = boost::lock_guard<boost::recursive_mutex>;

    const ModelTrack& Track() const { return file.tracks[index]; }

    /// All share one memory.
    SP<IDataPacket> MakeFat(const ScriptItem& item) const
    {
        constexpr size_t size = PacketQueue::maxBytes / fatInQueue + 1, places = 1 << 16;
        static AVBufferRef* const memory = av_buffer_alloc(size + places);
        AVPacket* record = CreatePacket(0);
        av_buffer_unref(&record->buf);
        record->buf = av_buffer_ref(memory);
        record->data = memory->data + 4 * item.value;
        record->size = static_cast<int>(size);
        for (int i = 0; i < 4; ++i)
            record->data[i] = static_cast<uint8_t>(item.value >> (24 - 8 * i));
        record->flags = item.key ? AV_PKT_FLAG_KEY : 0;
        const SP<DataPacketFF> packet =
            DataPacketFF::Create(record, MediaType::Video, item.pts, item.dts, item.duration);
        packet->SetPosition(item.position);
        return packet;
    }

    ModelFile& file;
    const size_t index;
    const SP<Conf::IFormatCodec> format = Conf::IFormatCodecVideo::Create();
    Script read;         // what comes from the last landing on
    size_t next = 0;     // index in it
    avTime end = NoTime; // of what was read, NoTime behind a seek
};

ModelFile::ModelFile() = default;
ModelFile::~ModelFile() = default;

std::vector<SP<IStreamRaw>> ModelFile::Open()
{
    for (size_t i = 0; i < tracks.size(); ++i)
        streams.emplace_back(new ModelStream(*this, i));
    return {streams.begin(), streams.end()};
}

void ModelFile::Seek(size_t track)
{
    const boost::lock_guard<boost::recursive_mutex> lock(mutex);
    avTime target = streams[track]->target;
    for (const auto& stream : streams)
        if (shared && stream->target != NoTime)
            target = target == NoTime ? stream->target : std::min(target, stream->target);
    for (size_t i = 0; i < streams.size(); ++i)
        if (target != NoTime && (shared || i == track))
            streams[i]->MoveTo(target);
}

} // namespace Tessor::Test
