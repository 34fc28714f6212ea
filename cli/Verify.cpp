#include "cli/Verify.h"

#include "Proc/Settings/SettingsFilterCutController.h"
#include "cli/Interrupt.h"
#include "cli/Pictures.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/io/Demuxer.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <string_view>
#include <unordered_set>

namespace Tessor::Cli
{

namespace
{

/// Pictures below this are no copy of their source.
constexpr double least_ratio = 30;

int FindVideo(const Host::MediaInfo& info)
{
    for (const Host::TrackInfo& track : info.tracks)
    {
        if (track.type == MediaType::Video && !track.attachedPicture)
            return track.index;
    }
    return -1;
}

SP<Proc::IStreamVideo> OpenDecoder(const std::string& path, SP<Host::Demuxer>& demuxer)
{
    demuxer = Host::Demuxer::Open(path);
    const int video = FindVideo(demuxer->GetInfo());
    return video < 0 ? nullptr
                     : Host::CodecFactory::Create({.wanted = {}, .distinct = false})
                           ->CreateDecoder(demuxer->GetStream(video), "");
}

/// The decoded pictures of a file that lie in the kept ranges, in order.
class KeptPictures
{
public:
    KeptPictures(const std::string& path, const std::vector<Range>& ranges) : ranges(ranges)
    {
        decoder = OpenDecoder(path, demuxer);
        if (decoder && !ranges.empty())
            Enter();
    }

    bool HasVideo() const { return decoder != nullptr; }

    SP<Proc::IDataVideo> Next()
    {
        while (current < ranges.size())
        {
            const SP<Proc::IDataVideo> frame = decoder->Read();
            if (frame && frame->GetPTS() < ranges[current].end)
            {
                if (frame->GetPTS() >= ranges[current].start)
                    return frame;
                continue;
            }
            if (++current < ranges.size())
                Enter();
        }
        return nullptr;
    }

private:
    void Enter()
    {
        decoder->RequestSeek(ranges[current].start, nullptr);
        decoder->DoSeek();
    }

    const std::vector<Range> ranges;
    size_t current = 0; // the range that is being read
    SP<Host::Demuxer> demuxer;
    SP<Proc::IStreamVideo> decoder;
};

/// Hashes of a file's video packets.
std::vector<size_t> PacketHashes(const std::string& path)
{
    std::vector<size_t> hashes;
    const SP<Host::Demuxer> demuxer = Host::Demuxer::Open(path);
    const int video = FindVideo(demuxer->GetInfo());
    if (video < 0)
        return hashes;
    const SP<Proc::IStreamRaw> stream = demuxer->GetStream(video);
    while (const SP<Proc::IDataPacket> packet = stream->Read())
    {
        ThrowIfInterrupted();
        hashes.push_back(std::hash<std::string_view>()(
            {reinterpret_cast<const char*>(packet->GetData()), static_cast<size_t>(packet->GetSize())}));
    }
    return hashes;
}

void ComparePictures(KeptPictures& source, KeptPictures& output, const Proc::SettingsFilterCutController& cut,
                     VerifyReport& report)
{
    avTime shift = NoTime;
    report.lowestRatio = std::numeric_limits<double>::infinity();
    for (;;)
    {
        ThrowIfInterrupted();
        const SP<Proc::IDataVideo> expected = source.Next();
        const SP<Proc::IDataVideo> found = output.Next();
        report.expectedPictures += expected != nullptr;
        report.outputPictures += found != nullptr;
        if (!expected && !found)
            return;
        if (!expected || !found)
            continue;
        const double ratio = PictureRatio(*expected, *found);
        report.identicalPictures += std::isinf(ratio);
        report.lowestRatio = std::min(report.lowestRatio, ratio);
        const avTime off = found->GetPTS() - cut.Source2Result(expected->GetPTS());
        if (shift == NoTime)
            shift = off; // a container may move the whole file
        report.worstTimeErrorMs = std::max(report.worstTimeErrorMs, std::abs(Seconds(off - shift)) * 1000);
    }
}

void Judge(VerifyReport& report)
{
    if (report.expectedPictures != report.outputPictures)
        report.faults.push_back(
            fmt::format("{} pictures, {} expected", report.outputPictures, report.expectedPictures));
    else if (report.lowestRatio < least_ratio)
        report.faults.push_back(fmt::format("a picture differs from its source: {:.1f} dB", report.lowestRatio));
    constexpr double tolerance = 5;
    if (report.worstTimeErrorMs > tolerance)
        report.faults.push_back(fmt::format("a picture lies {:.1f} ms off its place", report.worstTimeErrorMs));
}

} // namespace

VerifyReport Verify(const std::string& source, const std::string& output, const std::vector<Range>& kept)
{
    VerifyReport report;
    KeptPictures expected(source, kept);
    KeptPictures found(output, {{-MAX_DURATION, MAX_DURATION}}); // all of it, priming included
    if (!expected.HasVideo())
        return report;
    if (!found.HasVideo())
    {
        report.faults.push_back("the video is gone");
        return report;
    }
    Proc::SettingsFilterCutController cut;
    for (const Range& range : kept)
        cut.AddInterval(range.start, range.end, NoTime, false);
    cut.UpdateOptimizedList();
    ComparePictures(expected, found, cut, report);

    const std::vector<size_t> sourceHashes = PacketHashes(source), outputHashes = PacketHashes(output);
    const std::unordered_set<size_t> known(sourceHashes.begin(), sourceHashes.end());
    report.packets = static_cast<long long>(outputHashes.size());
    report.identicalPackets =
        std::count_if(outputHashes.begin(), outputHashes.end(), [&](size_t hash) { return known.contains(hash); });
    Judge(report);
    return report;
}

} // namespace Tessor::Cli
