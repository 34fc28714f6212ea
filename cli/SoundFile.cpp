#include "cli/SoundFile.h"

#include "cli/MuxPump.h"
#include "cli/Report.h"
#include "cli/Times.h"
#include "cli/UserError.h"
#include "ffhost/ReadAhead.h"
#include "ffhost/codecs/AudioDecoder.h"

extern "C"
{
#include <libavcodec/codec_par.h>
}

#include <algorithm>
#include <chrono>
#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Proc;

SP<IStreamAudio> ReadSoundAhead(const SP<IStreamAudio>& stream)
{
    // Enough to even out work that varies.
    constexpr size_t waiting_blocks = 32;
    return Host::ReadAhead<IStreamAudio>::Create(stream, waiting_blocks);
}

SP<Host::TrackEncoder> EncodeSound(const SP<IStreamAudio>& stream, const Host::EncoderOptions& options,
                                   const Factories& factories)
{
    const Conf::SampleInfo info = stream->GetFormatCodec()->GetSampleInfo();
    const Conf::SampleInfo fitting = Host::FitSampleInfo(options.name, info);
    return Host::CreateTrackEncoder(fitting == info ? stream : MakeResampler(stream, fitting, factories), options);
}

OpenedSound OpenSound(const std::string& path)
{
    const SP<Host::Demuxer> demuxer = Host::Demuxer::Open(path);
    const std::vector<Host::TrackInfo>& tracks = demuxer->GetInfo().tracks;
    const auto sound = std::find_if(tracks.begin(), tracks.end(),
                                    [](const Host::TrackInfo& track) { return track.type == MediaType::Audio; });
    if (sound == tracks.end())
        throw UserError(ExitCode::Failed, path + ": there is no sound");
    return {sound->index, ReadSoundAhead(Host::AudioDecoder::Create(demuxer->GetStream(sound->index)))};
}

SoundReport WriteSound(const SP<IStreamAudio>& stream, const std::string& path, const Host::EncoderOptions& options,
                       const Factories& factories, Progress& progress)
{
    const auto start = std::chrono::steady_clock::now();
    const Host::EncoderOptions chosen = Host::ChooseEncoder(path, MediaType::Audio, options);
    const SP<Host::TrackEncoder> encoder = EncodeSound(stream, chosen, factories);

    Host::TrackInfo blank;
    blank.type = MediaType::Audio;
    const Host::TrackInfo track = Host::DescribeTrack(blank, *encoder);
    const std::unique_ptr<Host::Muxer> muxer = Host::Muxer::Create(path);
    MuxPump pump(*muxer);
    pump.AddEncoded(encoder, track);
    muxer->Open();
    pump.Run(stream->GetDuration(), progress);
    muxer->Finish();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const AVCodecParameters& parameters = *track.parameters;
    return {stream->GetDuration(), chosen.name,         parameters.sample_rate, parameters.ch_layout.nb_channels,
            wall.count(),          pump.GetStatistics()};
}

void PrintSound(const SoundReport& report, const std::string& path, const CommonOptions& common)
{
    const Json json = {{"output", path},
                       {"duration", Seconds(report.duration)},
                       {"encoder", report.encoder},
                       {"sample_rate", report.rate},
                       {"channels", report.channels},
                       {"wall_seconds", report.wallSeconds}};
    PrintReport(
        common, [&] { return json; },
        [&]
        {
            fmt::print("{}: {} of {} Hz, {} channels, by {} in {:.2f} s\n", path, T2S(report.duration), report.rate,
                       report.channels, report.encoder, report.wallSeconds);
        },
        {}, report.statistics);
}

} // namespace Tessor::Cli
