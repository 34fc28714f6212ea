#include "jobs/sound/SoundFile.h"

#include "ffhost/codecs/AudioDecoder.h"
#include "ffhost/streams/ReadAhead.h"
#include "jobs/InputDamage.h"
#include "jobs/InputFile.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/Stopwatch.h"
#include "jobs/TrackSelection.h"
#include "jobs/repack/MuxPump.h"
#include "jobs/sound/Pcm.h"

extern "C"
{
#include <libavcodec/codec_par.h>
}

#include <algorithm>

namespace Tessor::Jobs
{

using namespace Proc;

SP<IStreamAudio> ReadSoundAhead(const SP<IStreamAudio>& stream)
{
    // Enough to even out work that varies, and to wake a thread for many of them at once.
    constexpr size_t waiting_blocks = 128;
    if (IsPcm(stream->GetFormatCodec()->GetCodecID()))
        return stream;
    return Host::ReadAhead<IStreamAudio>::Create(stream, waiting_blocks);
}

SP<Host::TrackEncoder> EncodeSound(const SP<IStreamAudio>& stream, const Host::EncoderOptions& options,
                                   const Factories& factories)
{
    const Conf::SampleInfo info = stream->GetFormatCodec()->GetSampleInfo();
    const Conf::SampleInfo fitting = Host::FitSampleInfo(options.name, info);
    return Host::CreateTrackEncoder(fitting == info ? stream : MakeResampler(stream, fitting, factories), options);
}

void OpenedSound::Warn(avTime maxGap, std::vector<std::string>& warnings) const
{
    const std::string& path = file->GetInfo().path;
    AddDamage(path, file->GetDamage(), warnings);
    gaps->Warn(path, maxGap, warnings);
}

OpenedSound OpenSound(const Input& input, const std::string& wanted, avTime maxGap, const IProgress& progress)
{
    const SP<Host::Demuxer> demuxer = OpenInput(input, progress);
    const Host::MediaInfo& info = demuxer->GetInfo();
    const std::set<int> named = FindTracks(info, wanted);
    const auto sound =
        std::find_if(named.begin(), named.end(),
                     [&](int index) { return info.tracks[static_cast<size_t>(index)].type == MediaType::Audio; });
    if (sound == named.end())
        throw JobError(JobError::Failed,
                       info.path + ": there is no sound" + (wanted.empty() ? "" : " in the tracks " + wanted));
    const auto gaps = std::make_shared<ClosedGaps>();
    const SP<IStreamAudio> stream = Host::AudioDecoder::Create(
        demuxer->GetStream(*sound), {maxGap, [gaps](avTime start, avTime length) { gaps->Add(start, length); }});
    return {demuxer, *sound, ReadSoundAhead(stream), gaps};
}

SoundReport WriteSound(const SP<IStreamAudio>& stream, const std::string& path, const Host::MuxerSettings& file,
                       const Host::EncoderOptions& options, const Factories& factories, IProgress& progress)
{
    const Stopwatch watch;
    const Host::EncoderOptions chosen = Host::ChooseEncoder(path, file.format, MediaType::Audio, options);
    const SP<Host::TrackEncoder> encoder = EncodeSound(stream, chosen, factories);

    Host::TrackInfo blank; // no source's track: the encoder tells all there is
    blank.type = MediaType::Audio;
    const Host::TrackInfo track = Host::DescribeTrack(blank, *encoder);
    const std::unique_ptr<Host::Muxer> muxer = Host::Muxer::Create(path, Cancellable(file, progress));
    MuxPump pump(*muxer);
    pump.AddEncoded(encoder, track);
    muxer->Open();
    pump.Run(stream->GetDuration(), progress);
    FinishOutput(*muxer);

    SoundReport report;
    report.output = muxer->GetPath();
    report.duration = stream->GetDuration();
    report.encoder = chosen.name;
    report.rate = track.parameters->sample_rate;
    report.channels = track.parameters->ch_layout.nb_channels;
    report.statistics = pump.GetStatistics();
    AddUndecodable(report.statistics, report.warnings);
    report.wallSeconds = watch.GetSeconds();
    return report;
}

} // namespace Tessor::Jobs
