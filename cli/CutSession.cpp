#include "cli/CutSession.h"

#include "cli/Groups.h"
#include "cli/UserError.h"
#include "ffhost/codecs/CodecFactory.h"
#include "media/IFormatCodecVideo.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tessor::Cli
{

namespace
{

/// A picture this little in front of a bound is meant by it: neither times on the command line nor those of containers
/// are exact to the microsecond.
constexpr avTime snap_tolerance = 100;

Proc::SettingsFilterCutController MakeSettings(const std::vector<Range>& ranges, avTime duration)
{
    Proc::SettingsFilterCutController settings;
    for (const Range& range : ranges)
    {
        // what reaches the end has no seam there
        const avTime end = range.end >= duration ? MAX_DURATION : range.end;
        settings.AddInterval(std::max<avTime>(range.start, 0), end, NoTime, false);
    }
    settings.UpdateOptimizedList();
    return settings;
}

std::vector<Range> Merged(std::vector<Range> ranges)
{
    std::vector<Range> merged;
    for (const Range& range : ranges)
    {
        if (!merged.empty() && range.start <= merged.back().end)
            merged.back().end = std::max(merged.back().end, range.end);
        else
            merged.push_back(range);
    }
    return merged;
}

} // namespace

CutSession::CutSession(const CutRequest& request) : demuxer(Host::Demuxer::Open(request.input))
{
    SelectTracks();
    requested = ReadRequest(request);
    ranges = Merged(SnapToPictures(requested));
    // a picture that begins in front of a piece is not part of it, though it still stands when the piece begins
    codecs = Host::CodecFactory::Create([cut = cut](avTime time) { return !cut->IsPointDeleted(time); });
    controller = Proc::FilterCutController::Create(MakeSettings(ranges, GetInfo().duration), codecs);
    JoinToController();
    AlignToGroups();
    Apply(ranges);
}

CutTrack* CutSession::GetVideo()
{
    const auto found = std::find_if(tracks.begin(), tracks.end(),
                                    [&](const CutTrack& track)
                                    { return GetInfo().tracks[track.index].type == MediaType::Video && track.source; });
    return found == tracks.end() ? nullptr : &*found;
}

void CutSession::SelectTracks()
{
    for (const Host::TrackInfo& track : GetInfo().tracks)
    {
        const bool dense = (track.type == MediaType::Video && !track.attachedPicture) || track.type == MediaType::Audio;
        if (dense)
            tracks.push_back({track.index, demuxer->GetStream(track.index), nullptr});
        else if (track.type == MediaType::Subtitle || track.attachedPicture || track.attachment)
            tracks.push_back({track.index, nullptr, nullptr});
        else
            warnings.push_back(fmt::format("track {} ({}) is left out: it is neither picture, sound nor subtitles",
                                           track.index, track.codecName));
        if (!dense && !tracks.empty() && tracks.back().index == track.index && !track.attachment)
            demuxer->SelectSparse(track.index);
    }
    std::stable_sort(tracks.begin(), tracks.end(),
                     [&](const CutTrack& a, const CutTrack& b)
                     {
                         const auto rank = [&](const CutTrack& t)
                         { return t.source && GetInfo().tracks[t.index].type == MediaType::Video ? 0 : 1; };
                         return rank(a) < rank(b);
                     });
    if (std::none_of(tracks.begin(), tracks.end(), [](const CutTrack& track) { return track.source != nullptr; }))
        throw UserError(ExitCode::Failed, GetInfo().path + ": there is neither picture nor sound to cut");
}

TimeContext CutSession::MakeTimeContext()
{
    // scanned once, and only when a time is given as a frame
    const auto times = std::make_shared<std::vector<avTime>>();
    return {GetInfo().duration, [this, times](long long frame)
            {
                CutTrack* video = GetVideo();
                if (!video)
                    throw UserError(ExitCode::Usage, "frames can't be counted: there is no video");
                if (times->empty())
                    *times = ScanPictureTimes(*video->source);
                if (frame > static_cast<long long>(times->size()))
                    throw UserError(ExitCode::Usage,
                                    fmt::format("there is no frame {}f: the video has {}", frame, times->size()));
                return frame == static_cast<long long>(times->size()) ? GetInfo().duration : times->at(frame);
            }};
}

std::vector<Range> CutSession::ReadRequest(const CutRequest& request)
{
    const bool keeps = !request.keep.empty();
    if (keeps == !request.remove.empty())
        throw UserError(ExitCode::Usage, "give either --keep or --remove");
    const std::vector<std::string>& texts = keeps ? request.keep : request.remove;
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ",") + text;
    const TimeContext context = MakeTimeContext();
    std::vector<Range> list = ParseRanges(keeps ? "--keep" : "--remove", all, context);
    for (Range& range : list)
    {
        if (range.end <= context.duration)
            continue;
        warnings.push_back("a range ends beyond the end of the file, " + T2S(context.duration));
        range.end = context.duration;
    }
    if (!keeps)
        list = Complement(list, context.duration);
    if (list.empty())
        throw UserError(ExitCode::Usage, "nothing would be left of " + GetInfo().path);
    return list;
}

std::vector<Range> CutSession::SnapToPictures(std::vector<Range> list)
{
    CutTrack* video = GetVideo();
    if (!video)
        return list;
    for (Range& range : list)
    {
        if (range.start > 0)
            range.start = SnapToPicture(*video->source, range.start, snap_tolerance);
        if (range.end < GetInfo().duration)
            range.end = SnapToPicture(*video->source, range.end, snap_tolerance);
        // a group of which only the sound of its last picture is kept has no picture to begin with, and the pictures
        // that open the next group would lean on nothing
        if (range.start > 0)
            if (const avTime seam = SkipToSeam(*video->source, range.start); seam < range.end)
                range.start = seam;
    }
    return list;
}

void CutSession::JoinToController()
{
    for (CutTrack& track : tracks)
    {
        if (!track.source)
            continue;
        track.stream = controller->AddStream(track.source);
        const Core::Property& tree = track.stream->GetFormatCodec()->GetProperties();
        const std::string& tag = Conf::IFormatCodecVideo::TAG_CUT_ANYWHERE;
        track.cutAnywhere = !tree.ChildExists(tag) || tree[tag].GetBool();
    }
}

void CutSession::AlignToGroups()
{
    for (CutTrack& track : tracks)
    {
        if (track.cutAnywhere)
            continue;
        for (Range& range : ranges)
        {
            if (range.start > 0)
                range.start = std::min(range.start, FindEntry(*track.source, range.start));
            if (range.end < GetInfo().duration)
            {
                const avTime seam = FindSeam(*track.source, range.end);
                range.end = seam == NoTime ? GetInfo().duration : seam;
            }
        }
        ranges = Merged(ranges);
    }
}

void CutSession::Apply(const std::vector<Range>& list)
{
    const Proc::SettingsFilterCutController settings = MakeSettings(list, GetInfo().duration);
    *cut = settings;
    controller->Initialize(settings);
    demuxer->SetCut(settings);
}

} // namespace Tessor::Cli
