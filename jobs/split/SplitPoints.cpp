#include "jobs/split/SplitPoints.h"

#include "ffhost/io/Container.h"
#include "jobs/InputFile.h"
#include "jobs/JobError.h"
#include "jobs/ReadJointly.h"
#include "jobs/TrackSelection.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/lists/ChapterNumbers.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace Tessor::Jobs
{

namespace
{

/// What a container adds to a packet: an entry of its index, or headers and the rest of a transport packet.
constexpr long long bytes_beside_packet = 100;

/// And to a file: headers and tables.
constexpr long long bytes_beside_file = 4 << 10;

/// Where every packet is a place.
constexpr avTime shortest_sound = 100 * MILLISECOND;

/// By which a chapter's first picture may be late: times of chapters are rounded, and may count from a first picture
/// that is not at 0.
constexpr avTime latest_start = 500 * MILLISECOND;

/// A place where a piece can begin.
struct Point
{
    avTime time;
    long long bytes; // of all tracks before it
};

/// Looks for places on one way through the file.
class PointScan
{
public:
    PointScan(avTime duration, bool video) : duration(duration), apart(video ? 1 : shortest_sound) {}

    void Take(size_t place, const Proc::IDataPacket& packet)
    {
        // before the first key picture there may be sound
        if (place == 0 && packet.IsKeyFrame() && std::exchange(begun, true))
        {
            Add(all, packet.GetPTS());
            // a group that shows something before its key picture needs the one before
            if (packet.GetPosition() == packet.GetPTS())
                Add(closed, packet.GetPTS());
        }
        bytes += packet.GetSize() + bytes_beside_packet;
    }

    /// In the order of time, from 0 to the whole. Places in open groups are taken only where there are no others.
    std::vector<Point> Finish()
    {
        std::vector<Point> points = closed.size() > 1 ? closed : all;
        points.push_back({duration, bytes});
        return points;
    }

private:
    void Add(std::vector<Point>& points, avTime time) const
    {
        if (time >= points.back().time + apart && time < duration)
            points.push_back({time, bytes});
    }

    const avTime duration, apart;
    std::vector<Point> closed{{0, 0}}, all{{0, 0}};
    long long bytes = 0; // of what was taken
    bool begun = false;  // the first key packet was taken
};

std::vector<Point> ScanPoints(Host::Demuxer& demuxer, const std::string& tracks)
{
    std::vector<SP<Proc::IStreamRaw>> streams; // video first
    std::vector<std::string> ignored;          // the cut of each piece tells them
    for (const SelectedTrack& track : SelectTracks(demuxer, tracks, ignored))
        if (track.stream)
            streams.push_back(track.stream);
    PointScan scan(demuxer.GetInfo().duration, !streams.empty() && streams.front()->GetMediaType() == MediaType::Video);
    ReadJointly(streams, [&](size_t place, const SP<Proc::IDataPacket>& packet) { scan.Take(place, *packet); });
    return scan.Finish();
}

/// Where pieces begin, 0 first.
class PointChoice
{
public:
    PointChoice(std::vector<Point> points, const SplitSettings& settings)
        : points(std::move(points)), settings(settings)
    {
    }

    std::vector<avTime> BySizeOrTime() const
    {
        std::vector<avTime> starts{0};
        size_t first = 0; // of the piece
        for (size_t i = 1; i + 1 < points.size(); ++i)
        {
            const bool full =
                settings.size > 0 && points[i + 1].bytes - points[first].bytes + bytes_beside_file > settings.size;
            if (!full && (settings.time <= 0 || points[i].time - points[first].time < settings.time))
                continue;
            starts.push_back(points[i].time);
            first = i;
        }
        return starts;
    }

    /// The last place that is at most `later` after the time.
    avTime Near(avTime time, avTime later) const
    {
        const auto after = std::upper_bound(points.begin(), points.end() - 1, time + later,
                                            [](avTime value, const Point& point) { return value < point.time; });
        return after == points.begin() ? 0 : std::prev(after)->time;
    }

private:
    const std::vector<Point> points;
    const SplitSettings& settings;
};

std::vector<AskedRange> ByChapters(const PointChoice& choice, const Host::MediaInfo& info,
                                   std::vector<std::string>& warnings)
{
    if (info.chapters.empty())
        throw JobError(JobError::Failed, info.path + ": there are no chapters to split it by");
    std::vector<AskedRange> pieces;
    for (const AskedRange& chapter : ParseChapters("--split-chapters", "1-", info))
    {
        const avTime start = pieces.empty() ? 0 : choice.Near(chapter.range.start, latest_start);
        // a chapter in the middle of a group belongs to the piece that has its start
        if (pieces.empty() || start > pieces.back().range.start)
            pieces.push_back({{start, info.duration}, chapter.title, "--split-chapters"});
        else
            warnings.push_back(fmt::format("the chapter \"{}\" at {} has no key frame of its own: it is in the piece "
                                           "before",
                                           chapter.title, T2S(chapter.range.start)));
    }
    return pieces;
}

} // namespace

std::vector<AskedRange> FindPieces(const SplitSettings& settings, const IProgress& progress,
                                   std::vector<std::string>& warnings)
{
    const SP<Host::Demuxer> demuxer = OpenInput({settings.cut.input, settings.cut.reading}, progress);
    demuxer->KeepLeadIns(false);
    const PointChoice choice(ScanPoints(*demuxer, settings.cut.tracks), settings);
    std::vector<AskedRange> pieces;
    if (settings.chapters)
        pieces = ByChapters(choice, demuxer->GetInfo(), warnings);
    else
        for (const avTime start : choice.BySizeOrTime())
            pieces.push_back({{start, demuxer->GetInfo().duration}, "", "--split"});
    for (size_t i = 1; i < pieces.size(); ++i)
        pieces[i - 1].range.end = pieces[i].range.start;
    return pieces;
}

} // namespace Tessor::Jobs
