#include "jobs/convert/Conversion.h"

#include "Fnd/Exception.h"
#include "Fnd/Plural.h"
#include "Proc/Settings/SettingsAVFilter.h"
#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "Proc/Settings/SettingsResizer.h"
#include "effects/IOneInputEffect.h"
#include "ffhost/codecs/AudioDecoder.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/effects/AvGraph.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/streams/FieldJoiner.h"
#include "ffhost/streams/PictureGaps.h"
#include "ffhost/streams/ReadAhead.h"
#include "ffhost/streams/Tap.h"
#include "host/ImplNames.h"
#include "jobs/InputDamage.h"
#include "jobs/InputFile.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/Stopwatch.h"
#include "jobs/TrackSelection.h"
#include "jobs/chains/FilterRun.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/cut/SparseTrack.h"
#include "jobs/sound/SoundFile.h"

#include <fmt/format.h>

namespace Tessor::Jobs
{

using namespace Proc;

namespace
{

// Between two threads: enough to even out work that varies, little beside what encoders hold.
constexpr size_t waiting_pictures = 4;

bool IsTransparent(const Host::TrackInfo& track)
{
    return std::any_of(track.tags.begin(), track.tags.end(),
                       [](const auto& tag) { return tag.first == Host::TRANSPARENCY_TAG && tag.second == "1"; });
}

/// Whether it fills time with pictures of its own.
bool MakesSteps(const Settings& filter)
{
    const auto* chain = dynamic_cast<const SettingsAVFilter*>(&filter);
    return chain ? Host::AvGraph::MakesSteps(chain->graph) : filter.GetClassId() == SettingsFilterFrameRate::CLASS_ID;
}

bool HasAlpha(const Conf::IFormatCodecVideo& format)
{
    return PixFmtDescription::Find(format.GetPixelFormat()).HasAlpha();
}

double RateOf(const IStreamVideo& stream)
{
    const SP<Conf::IFormatCodecVideo> format = stream.GetFormatCodec();
    const Core::Property& tree = format->GetProperties();
    return tree.ChildExists(Conf::IFormatCodecVideo::TAG_FPS)
               ? boost::rational_cast<double>(tree[Conf::IFormatCodecVideo::TAG_FPS].GetRatio())
               : 0;
}

ConvertTrack MakeReport(const Host::TrackInfo& track)
{
    ConvertTrack report;
    report.index = track.index;
    report.kind = KindName(track);
    report.codec = track.codecName;
    return report;
}

/// Tells apart pictures that come before the first key picture, and so lack their references.
struct EntryMeter
{
    bool found = false;   // the first key packet has come
    avTime last = NoTime; // of the pictures before it
    long long hidden = 0;

    void Meet(const IDataPacket& packet)
    {
        found = found || packet.IsKeyFrame();
        if (!found)
            last = std::max(last, packet.GetPTS());
    }
    bool Shows(avTime time)
    {
        // Some streams have no key picture at all: theirs become whole by and by (intra refresh).
        constexpr long long patience = 300;
        const bool shown = hidden >= patience || (found && (last == NoTime || time > last));
        hidden += !shown;
        return shown;
    }
};

/// Remembers how far the items reach that pass.
template <class Kind>
SP<Kind> MeasureEnd(const SP<Kind>& stream, std::atomic<avTime>& end, std::shared_ptr<const void> owner)
{
    return Host::Tap<Kind>::Create(stream, [&end, owner](const SP<typename Kind::Item>& item)
                                   { end = std::max(end.load(), AddTime(item->GetPTS(), item->GetDuration())); });
}

/// Knows a picture that stands a second time by its buffer, which is kept, so that no other can take its place.
struct RepeatMeter
{
    SP<IDataVideo> last = nullptr;

    bool IsRepeat(const SP<IDataVideo>& frame)
    {
        const auto start = [](const IDataVideo& picture) { return picture.GetPlane(0).GetOffsetPtr(0, 0); };
        const bool same = last && start(*last) == start(*frame);
        last = frame;
        return same;
    }
};

} // namespace

Conversion::Conversion(const ConvertSettings& settings, const IProgress& progress)
    : settings(settings), videoSteps(ReadFilters(settings.videoChain, MediaType::Video)),
      audioSteps(ReadFilters(settings.audioChain, MediaType::Audio)), factories(Factories::Make()),
      demuxer(OpenInput({settings.input, settings.reading}, progress)),
      info(ApplyChanges(demuxer->GetInfo(), settings.changes)),
      muxer(Host::Muxer::Create(settings.output, Cancellable(settings.writing, progress))), pump(*muxer),
      warnings(FindLosses(settings.changes, settings.output, settings.writing.format))
{
    ReadCut();
    AddTracks();
    muxer->SetTags(info.tags);
    muxer->SetChapters(cut ? MapChapters(info, cut->GetTimeline()) : info.chapters);
    muxer->Open();
}

void Conversion::ReadCut()
{
    if (!settings.Cuts())
        return;
    const std::vector<AskedRange> kept =
        ReadKeptRanges(settings.keep, settings.remove, *demuxer, settings.tracks, warnings);
    cut.emplace(GetRanges(kept), info.duration);
    content.emplace(demuxer, cut->GetRanges());
}

Host::Demuxer& Conversion::SourceOf()
{
    if (!cut || outputs.empty())
        return *demuxer;
    more.push_back(demuxer->OpenAgain());
    return *more.back();
}

Host::Demuxer& Conversion::SourceOfSparse()
{
    if (!cut)
        return *demuxer;
    if (!sparse)
        sparse = demuxer->OpenAgain();
    return *sparse;
}

void Conversion::AddTracks()
{
    std::vector<const Host::TrackInfo*> tracks;
    for (const int index : ChooseTracks(demuxer->GetInfo(), settings.tracks, warnings))
        tracks.push_back(&info.tracks[static_cast<size_t>(index)]);
    for (const Host::TrackInfo* track : tracks)
        if (track->IsDense())
            AddDense(*track);
    if (outputs.empty())
        throw JobError(JobError::Failed,
                       info.path + ": there is neither picture nor sound " + (cut ? "in the kept time" : "to convert"));
    for (const Host::TrackInfo* track : tracks)
        if (!track->IsDense() && HasContent(*track))
            AddSparse(*track);
}

void Conversion::AddDense(const Host::TrackInfo& track)
{
    const bool video = track.type == MediaType::Video;
    if ((video ? settings.noVideo : settings.noAudio) || !HasPlace(track) || !HasContent(track))
        return;
    if (IsCopied(track))
        AddCopied(track);
    else if (video)
        AddPictures(track);
    else
        AddSound(track);
}

bool Conversion::IsCopied(const Host::TrackInfo& track) const
{
    return track.type == MediaType::Video ? settings.copyVideo : settings.copyAudio;
}

bool Conversion::HasContent(const Host::TrackInfo& track)
{
    // decoded, an item is seen or heard for as long as it lasts; copied, it is there or not
    const bool decoded = track.IsDense() && !IsCopied(track);
    const auto stream = [&] { return track.IsDense() ? demuxer->OpenAgain()->GetStream(track.index) : nullptr; };
    if (!cut || (decoded ? cut->Keeps(track.start, track.end) : content->Holds(track, stream())))
        return true;
    warnings.push_back(fmt::format("track {} ({}, {}) is left out: it has nothing in the kept time", track.index,
                                   KindName(track), track.codecName));
    return false;
}

bool Conversion::HasPlace(const Host::TrackInfo& track)
{
    if (Host::HasPlaceFor(settings.output, settings.writing.format, track.type))
        return true;
    const std::string& asked = track.type == MediaType::Video ? settings.video.name : settings.audio.name;
    if (!asked.empty())
        return true;
    warnings.push_back(fmt::format("track {} ({}, {}) is left out: the output's container has no place for it",
                                   track.index, KindName(track), track.codecName));
    return false;
}

Host::EncoderOptions Conversion::ChooseEncoder(MediaType type, const Host::EncoderOptions& wanted) const
{
    return Host::ChooseEncoder(settings.output, settings.writing.format, type, wanted);
}

// What stands before a ReadAhead runs on a thread of its own: decoding on the first, filters on the second, and the
// encoder on a third (MuxPump::AddEncoded).
void Conversion::AddPictures(const Host::TrackInfo& track)
{
    const Host::EncoderOptions options = ChooseEncoder(MediaType::Video, settings.video);
    const auto counts = std::make_shared<Counts>();
    SP<IStreamVideo> stream = DecodePictures(SourceOf(), track.index, counts);
    if (IsTransparent(track) && !HasAlpha(*stream->GetFormatCodec()))
        warnings.push_back(
            fmt::format("track {}: the decoder of {} knows no transparency: it is lost", track.index, track.codecName));
    ConvertTrack report = MakeReport(track);
    report.sourceRate = RateOf(*stream);
    stream = Host::Tap<IStreamVideo>::Create(stream, [counts](const SP<IDataVideo>&) { ++counts->in; });
    stream = Host::ReadAhead<IStreamVideo>::Create(stream, waiting_pictures);
    stream = MeasureEnd(Filter(stream, track.index, counts), counts->end, counts);
    stream = Fit(stream, options.name, track.index);
    stream = Host::ReadAhead<IStreamVideo>::Create(stream, waiting_pictures);
    report.resultRate = RateOf(*stream);
    AddEncoded(track, Host::CreateTrackEncoder(stream, options), std::move(report), counts);
}

SP<IStreamVideo> Conversion::DecodePictures(Host::Demuxer& source, int index,
                                            const std::shared_ptr<Counts>& counts) const
{
    const auto entry = std::make_shared<EntryMeter>();
    const SP<IStreamRaw> packets = Host::Tap<IStreamRaw>::Create(
        source.GetStream(index), [entry](const SP<IDataPacket>& packet) { entry->Meet(*packet); });
    const auto wanted = [entry, counts](avTime time)
    {
        const bool shown = entry->Shows(time);
        counts->hidden += !shown;
        return shown;
    };
    const SP<IStreamVideo> stream =
        Host::CodecFactory::Create({.wanted = wanted, .distinct = false})->CreateDecoder(packets, "");
    return cut ? cut->Cut(stream) : stream;
}

SP<IStreamAudio> Conversion::DecodeSound(Host::Demuxer& source, int index, const std::shared_ptr<Counts>& counts) const
{
    const SP<IStreamAudio> stream = Host::AudioDecoder::Create(source.GetStream(index), LimitGaps(counts));
    return cut ? cut->Cut(stream) : stream;
}

SP<IStreamVideo> Conversion::Filter(const SP<IStreamVideo>& stream, int index,
                                    const std::shared_ptr<Counts>& counts) const
{
    // a second way through the file, for a length alone, whose pictures do not count
    FilterRun<IStreamVideo> run(videoSteps, factories,
                                [&]
                                {
                                    const SP<Host::Demuxer> again = demuxer->OpenAgain();
                                    return DecodePictures(*again, index, std::make_shared<Counts>());
                                });
    return run.Make(stream, [&](const FilterStep& step, const SP<IStreamVideo>& source)
                    { return MakeStep(step, source, counts); });
}

SP<IStreamVideo> Conversion::MakeStep(const FilterStep& step, SP<IStreamVideo> stream,
                                      const std::shared_ptr<Counts>& counts) const
{
    if (MakesSteps(*step.settings))
        stream = Host::PictureGaps::Create(stream, LimitGaps(counts));
    if (step.settings->GetClassId() != SettingsFilterFrameRate::CLASS_ID)
        return MakeFilter(step, stream, factories);
    stream = Host::Tap<IStreamVideo>::Create(stream, [counts](const SP<IDataVideo>&) { ++counts->before; });
    stream = MakeFilter(step, stream, factories);
    return Host::Tap<IStreamVideo>::Create(stream,
                                           [counts, meter = RepeatMeter()](const SP<IDataVideo>& frame) mutable
                                           {
                                               ++counts->after;
                                               counts->doubled += meter.IsRepeat(frame);
                                           });
}

SP<IStreamAudio> Conversion::Filter(const SP<IStreamAudio>& stream, int index) const
{
    FilterRun<IStreamAudio> run(audioSteps, factories,
                                [&] { return DecodeSound(*demuxer->OpenAgain(), index, std::make_shared<Counts>()); });
    return run.Make(stream);
}

Host::GapLimit Conversion::LimitGaps(const std::shared_ptr<Counts>& counts) const
{
    return {settings.maxGap, [counts](avTime start, avTime length) { counts->gaps.Add(start, length); }};
}

SP<IStreamVideo> Conversion::Fit(SP<IStreamVideo> stream, const std::string& encoder, int index)
{
    SP<Conf::IFormatCodecVideo> format = stream->GetFormatCodec();
    const bool transparent = HasAlpha(*format);
    const SP<IOneInputEffectVideo> converter =
        factories.effects->CreateEffectVideo(SettingsColorspaceConverter::CLASS_ID, ImplNames::DEFAULT, nullptr);
    converter->Initialise(SettingsColorspaceConverter(Host::ListPixelFormats(encoder, format->GetPixelFormat())));
    converter->UpdateFormat(format);
    if (transparent && !HasAlpha(*format))
        warnings.push_back(fmt::format("track {}: {} carries no transparency: it is lost", index, encoder));
    // One of them for all pictures: the source's may change in the middle, as their size may.
    converter->Initialise(SettingsColorspaceConverter({format->GetPixelFormat()}));
    stream = ApplyEffect(converter, stream, factories);
    const Conf::FrameInfo size = format->GetFrameInfo();
    const Conf::FrameInfo fitting = Host::FitSize(encoder, format->GetPixelFormat(), size);
    if (!(fitting == size))
        warnings.push_back(fmt::format("track {} is scaled from {}x{} to {}x{}: {} takes no odd sizes", index,
                                       size.width, size.height, fitting.width, fitting.height, encoder));
    SettingsResizer settings;
    settings.SetCustomMode(SettingsResizer::CustomModes::Exact, fitting);
    return factories.filters->CreateFilterVideoEx(settings, ImplNames::DEFAULT, stream);
}

void Conversion::AddSound(const Host::TrackInfo& track)
{
    const Host::EncoderOptions options = ChooseEncoder(MediaType::Audio, settings.audio);
    const auto counts = std::make_shared<Counts>();
    SP<IStreamAudio> stream = DecodeSound(SourceOf(), track.index, counts);
    stream = Host::Tap<IStreamAudio>::Create(stream, [counts](const SP<IDataAudio>&) { ++counts->in; });
    stream = ReadSoundAhead(stream);
    stream = MeasureEnd(Filter(stream, track.index), counts->end, counts);
    AddEncoded(track, EncodeSound(stream, options, factories), MakeReport(track), counts);
}

void Conversion::AddEncoded(const Host::TrackInfo& track, const SP<Host::TrackEncoder>& encoder, ConvertTrack report,
                            std::shared_ptr<Counts> counts)
{
    const Host::TrackInfo described = Host::DescribeTrack(track, *encoder);
    RequireCarried(described, "beside the others");
    report.encoder = encoder->GetEncoderName();
    expected = std::max(expected, encoder->GetDuration());
    outputs.push_back({pump.AddEncoded(encoder, described), std::move(report), std::move(counts)});
}

void Conversion::RequireCarried(const Host::TrackInfo& track, const char* how) const
{
    if (!muxer->CanCarry(track))
        throw JobError(JobError::Failed, fmt::format("{}: the container can't carry track {} ({}) {}", muxer->GetPath(),
                                                     track.index, KindName(track), how));
}

void Conversion::AddCopied(const Host::TrackInfo& track)
{
    RequireCarried(track, "as it is");
    const auto counts = std::make_shared<Counts>();
    SP<IStreamRaw> stream = SourceOf().GetStream(track.index);
    if (cut)
        stream = cut->Cut(stream);
    stream = Host::Tap<IStreamRaw>::Create(stream, [counts](const SP<IDataPacket>&) { ++counts->in; });
    stream = MeasureEnd(stream, counts->end, counts);
    expected = std::max(expected, stream->GetDuration());
    outputs.push_back({pump.Add(stream, stream->GetFormatCodec(), track), MakeReport(track), counts});
}

void Conversion::AddSparse(const Host::TrackInfo& track)
{
    if (!muxer->CanCarry(track))
    {
        warnings.push_back(fmt::format("track {} ({}) is left out: the output's container can't carry it", track.index,
                                       track.codecName));
        return;
    }
    Host::Demuxer& source = SourceOfSparse();
    if (!track.attachment)
        source.SelectSparse(track.index);
    const auto place = [this, pieces = SparseTrack()](const SP<IDataPacket>& packet) mutable
    { return pieces.Push(packet, cut->GetTimeline()); };
    outputs.push_back({pump.AddSparse(source, track, cut ? place : MuxPump::Placement()), MakeReport(track), nullptr});
}

ConvertReport Conversion::Run(IProgress& progress)
{
    const Stopwatch watch;
    pump.Run(expected != NoTime ? expected : info.duration, progress);
    FinishOutput(*muxer);

    ConvertReport report;
    report.input = Host::NameInput(settings.input);
    report.output = muxer->GetPath();
    if (cut)
        report.intervals = cut->GetRanges();
    for (Output& output : outputs)
    {
        ConvertTrack& track = output.report;
        track.itemsOut = pump.GetPacketCount(output.place);
        track.itemsIn = output.counts ? output.counts->in.load() : track.itemsOut;
        if (output.counts)
        {
            report.duration = std::max(report.duration, output.counts->end.load());
            track.doubled = output.counts->doubled;
            // of those that went in, what did not come out even once
            track.dropped = output.counts->before - (output.counts->after - output.counts->doubled);
            if (const long long hidden = output.counts->hidden)
                warnings.push_back(fmt::format("track {}: {} before the first key picture left out", track.index,
                                               Count(hidden, "picture")));
            output.counts->gaps.Warn(fmt::format("track {} ({})", track.index, track.kind), settings.maxGap, warnings);
            if (track.itemsIn > 0 && track.itemsOut == 0)
                warnings.push_back(fmt::format("nothing is left of track {} ({})", track.index, track.kind));
        }
        report.tracks.push_back(track);
    }
    report.warnings = warnings;
    for (const std::string& warning : pump.GetWarnings(*demuxer, FindDamageElsewhere()))
        report.warnings.push_back(warning);
    report.statistics = pump.GetStatistics();
    AddUndecodable(report.statistics, report.warnings);
    report.wallSeconds = watch.GetSeconds();
    return report;
}

// The one for sparse tracks reads what the others do: its damage is theirs.
Host::Damage Conversion::FindDamageElsewhere() const
{
    Host::Damage damage;
    for (const SP<Host::Demuxer>& source : more)
        damage.Join(source->GetDamage());
    return damage;
}

} // namespace Tessor::Jobs
