#include "cli/SoundFile.h"

#include "cli/MuxPump.h"
#include "cli/Times.h"
#include "cli/UserError.h"
#include "ffhost/codecs/AudioDecoder.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <iostream>
#include <nlohmann/json.hpp>

namespace Tessor::Cli
{

using namespace Proc;

SP<IStreamAudio> OpenSound(const std::string& path)
{
    const SP<Host::Demuxer> demuxer = Host::Demuxer::Open(path);
    const std::vector<Host::TrackInfo>& tracks = demuxer->GetInfo().tracks;
    const auto sound = std::find_if(tracks.begin(), tracks.end(),
                                    [](const Host::TrackInfo& track) { return track.type == MediaType::Audio; });
    if (sound == tracks.end())
        throw UserError(ExitCode::Failed, path + ": there is no sound");
    return Host::AudioDecoder::Create(demuxer->GetStream(sound->index));
}

SoundReport WriteSound(const SP<IStreamAudio>& stream, const std::string& path, const Host::EncoderOptions& options,
                       const Factories& factories, Progress& progress)
{
    const auto start = std::chrono::steady_clock::now();
    const Host::EncoderOptions chosen = Host::ChooseEncoder(path, MediaType::Audio, options);
    const Conf::SampleInfo info = stream->GetFormatCodec()->GetSampleInfo();
    const Conf::SampleInfo fitting = Host::FitSampleInfo(chosen.name, info);
    const SP<IStreamAudio> fitted = fitting == info ? stream : MakeResampler(stream, fitting, factories);
    const SP<Host::TrackEncoder> encoder = Host::CreateTrackEncoder(fitted, chosen);

    Host::TrackInfo blank;
    blank.type = MediaType::Audio;
    const Host::TrackInfo track = Host::DescribeTrack(blank, *encoder);
    const std::unique_ptr<Host::Muxer> muxer = Host::Muxer::Create(path);
    MuxPump pump(*muxer);
    pump.Add(SP<IStreamRaw>(encoder), track.format, track);
    muxer->Open();
    pump.Run(stream->GetDuration(), progress);
    muxer->Finish();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return {stream->GetDuration(), chosen.name, fitting.GetSampleRate(), fitting.GetChannelCount(), wall.count()};
}

void PrintSound(const SoundReport& report, const std::string& path, const CommonOptions& common)
{
    const nlohmann::ordered_json json = {{"schema_version", 1},
                                         {"output", path},
                                         {"duration", Seconds(report.duration)},
                                         {"encoder", report.encoder},
                                         {"sample_rate", report.rate},
                                         {"channels", report.channels},
                                         {"wall_seconds", report.wallSeconds}};
    if (common.json)
        std::cout << json.dump(2) << "\n";
    else if (!common.quiet)
        fmt::print("{}: {} of {} Hz, {} channels, by {} in {:.2f} s\n", path, T2S(report.duration), report.rate,
                   report.channels, report.encoder, report.wallSeconds);
}

} // namespace Tessor::Cli
