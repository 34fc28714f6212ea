#pragma once

#include "media/formats/IFormatCodecVideo.h"
#include "tests/support/FakeItems.h"

#include <algorithm>
#include <random>

namespace Tessor::Test
{

/// A plain generator of numbers: the same on every machine.
class Dice
{
public:
    explicit Dice(uint32_t seed) : engine(seed) {}
    int64_t Roll(int64_t from, int64_t to) { return from + static_cast<int64_t>(engine()) % (to - from + 1); }
    bool OneIn(int64_t n) { return Roll(1, n) == 1; }

private:
    std::mt19937 engine;
};

/// Kept time, plainly: pieces in order that do not touch.
struct KeptTime
{
    std::vector<std::pair<avTime, avTime>> pieces;

    bool Holds(avTime t) const
    {
        return std::any_of(pieces.begin(), pieces.end(), [=](auto& p) { return p.first <= t && t < p.second; });
    }
    /// Kept time within the stretch.
    avTime Within(avTime start, avTime end) const
    {
        avTime sum = 0;
        for (const auto& [from, to] : pieces)
            sum += std::max<avTime>(0, std::min(end, to) - std::max(start, from));
        return sum;
    }
    void Add(avTime start, avTime end)
    {
        const auto touches = [&](auto& p) { return p.first <= end && start <= p.second; };
        for (const auto& piece : pieces)
            if (touches(piece))
                std::tie(start, end) = std::pair(std::min(start, piece.first), std::max(end, piece.second));
        std::erase_if(pieces, touches);
        pieces.insert(std::upper_bound(pieces.begin(), pieces.end(), std::pair(start, end)), {start, end});
    }
};

/// A track of a generated file: packets in decoding order, all times but the positions.
class ModelTrack
{
public:
    static constexpr avTime picture = 200 * ms;
    static constexpr size_t fatInQueue = 3; ///< so many packets of an oversized track fill a queue

    MediaType type = MediaType::Video;
    std::string codec;
    bool recodable = false; ///< an encoder is found for it: cuts are exact
    bool open = false;      ///< pictures are shown before their key picture
    bool oversized = false; ///< its groups are larger than a queue
    int early = 0;          ///< a seek lands that many key packets before the last one that would do
    Script packets;

    static ModelTrack MakeVideo(Dice& dice, avTime duration)
    {
        ModelTrack track;
        track.recodable = dice.OneIn(2);
        track.oversized = dice.OneIn(10);
        const bool open = track.open = !track.oversized && dice.OneIn(3);
        const bool keysOnly = !open && !track.oversized && dice.OneIn(6);
        using Format = Conf::IFormatCodecVideo;
        track.codec = !track.recodable ? Format::CODEC_ID_H265
                      : open           ? Format::CODEC_ID_MPEG1VIDEO
                                       : Format::CODEC_ID_VP8;
        const auto longest = keysOnly ? 1 : dice.Roll(1, dice.OneIn(3) ? 120 : 12);
        const int run = static_cast<int>(dice.Roll(0, 2));
        for (avTime at = 0; at < duration;)
        {
            const int count = static_cast<int>(dice.Roll((longest + 1) / 2, longest));
            const int leading = open && at > 0 ? static_cast<int>(dice.Roll(0, std::min(2, count - 1))) : 0;
            track.AddGroup(at, count, leading, run);
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

    static ModelTrack MakeSound(Dice& dice, avTime duration)
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
            track.packets.push_back({.pts = at - back, .duration = length, .dts = at - back, .key = true});
        }
        track.early = static_cast<int>(dice.Roll(0, 2));
        return track;
    }

    static ModelTrack MakeSubtitles(Dice& dice, avTime duration)
    {
        ModelTrack track;
        track.type = MediaType::None;
        track.codec = "subrip";
        for (avTime at = dice.Roll(0, 5000) * ms; at < duration; at += dice.Roll(1, 9000) * ms)
            track.packets.push_back({.pts = at, .duration = dice.Roll(1, 4000) * ms, .dts = at, .key = true});
        return track;
    }

    /// The packet where a seek lands.
    size_t Land(avTime target) const
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

    /// What is read from there on, with positions as a demuxer sets them. Leading pictures go where nothing before them
    /// was read, and where a kept piece starts with their key picture.
    Script Lay(size_t from, const KeptTime& kept) const
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

    /// The whole groups that a cut would run through are kept too; false when there was none.
    bool Widen(KeptTime& kept) const
    {
        if (type != MediaType::Video || (recodable && !oversized))
            return false;
        std::vector<Group> groups = FindGroups(Lay(0, kept));
        groups.back().stop = MAX_DURATION; // a piece after the end starts with the last key picture, too
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

    /// What a cut delivers of it from there on, by the definition: values in one byte, DTS where packets only moved.
    Script Cut(size_t from, const KeptTime& kept) const
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
            const bool whole = group.stop <= group.start
                                   ? kept.Holds(group.start)
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

private:
    struct Group
    {
        Script items;
        avTime start, stop;
    };

    /// One group from display time `first` on: leading pictures, the key picture, then runs of B-frames after what
    /// follows them.
    void AddGroup(avTime first, int count, int leading, int run)
    {
        const auto show = [&](int place)
        { packets.push_back({.pts = first + place * picture, .key = place == leading}); };
        show(leading);
        for (int i = 0; i < leading; ++i)
            show(i);
        for (int i = leading + 1; i < count; i += run + 1)
        {
            const int last = std::min(i + run, count - 1);
            show(last);
            for (int b = i; b < last; ++b)
                show(b);
        }
    }

    avTime FirstShown(size_t key) const
    {
        avTime first = packets[key].pts;
        for (size_t i = key + 1; i < packets.size() && !packets[i].key; ++i)
            first = packets[i].pts == NoTime ? first : std::min(first, packets[i].pts);
        return first;
    }

    static std::vector<Group> FindGroups(const Script& read)
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
};

} // namespace Tessor::Test
