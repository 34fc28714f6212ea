#include "ffhost/io/writing/MuxerFF.h"

#include "Fnd/Exception.h"
#include "Fnd/Plural.h"
#include "Proc/CodecParsers/AACCodecParser.h"
#include "ffhost/ErrorText.h"
#include "ffhost/Log.h"
#include "ffhost/io/writing/MovIndex.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <system_error>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

constexpr AVRational MICROSECONDS = {1, SECOND};

/// Packets that the repair of decoding times sees at once: more than any reordering spans.
constexpr size_t LOOK_AHEAD = 16;

constexpr int TRANSPORT_PACKET = 188;
constexpr int LEAST_TRANSPORT_PACKETS = 16; // libavformat's reader wants to see 10 of up to 204 bytes

void SetExtradata(AVCodecParameters& parameters, const uint8_t* data, size_t size)
{
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    if (size == 0)
        return;
    parameters.extradata = static_cast<uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters.extradata)
        throw std::bad_alloc();
    std::memcpy(parameters.extradata, data, size);
    parameters.extradata_size = static_cast<int>(size);
}

std::shared_ptr<AVCodecParameters> NewParameters(const AVCodecParameters& source)
{
    std::shared_ptr<AVCodecParameters> parameters(avcodec_parameters_alloc(),
                                                  [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    if (!parameters || avcodec_parameters_copy(parameters.get(), &source) < 0)
        throw std::bad_alloc();
    return parameters;
}

bool HasTag(const Tags& tags, const std::string& key)
{
    return std::any_of(tags.begin(), tags.end(), [&](const auto& tag) { return tag.first == key; });
}

int64_t ToTick(avTime time, AVRational timeBase)
{
    return time == NoTime ? AV_NOPTS_VALUE : av_rescale_q(time, MICROSECONDS, timeBase);
}

} // namespace

std::unique_ptr<Muxer> Muxer::Create(const std::string& path, const MuxerSettings& settings)
{
    return std::make_unique<MuxerFF>(path, settings);
}

MuxerFF::MuxerFF(const std::string& path, const MuxerSettings& settings)
    : path(path), settings(settings), container(Container::Require(path, settings.format)), header(path, container)
{
}

MuxerFF::~MuxerFF()
{
    // The muxer may still write when it is freed: before the file goes.
    context.reset();
}

bool MuxerFF::CanCarry(const TrackInfo& track) const
{
    if (!track.parameters)
        return false;
    if (track.attachedPicture)
        return container.ChooseCoverForm(track.parameters->codec_id) != Container::CoverForm::None;
    if (!container.KnowsCodec(track.parameters->codec_id))
        return false;
    const Track trial = MakeTrack(track, nullptr, false);
    return header.Fits(trial.source, *trial.parameters);
}

SettingsFilterBitStream::StreamFormat MuxerFF::GetFraming(const TrackInfo& track) const
{
    using Framing = SettingsFilterBitStream;
    const auto framing = container.ChooseFraming(track.parameters ? track.parameters->codec_id : AV_CODEC_ID_NONE);
    // A PCE often stands in the source's first frame only. libavformat makes it part of the first one written.
    const SP<const IBlob> header = track.format ? track.format->GetExtradata() : nullptr;
    const bool configured = header && track.parameters->codec_id == AV_CODEC_ID_AAC &&
                            Proc::CodecParsers::HasADTSHeader(header->Data(), header->Size()) &&
                            CodecParsers::DataToADTSHeader(header->Data(), header->Size()).pce;
    return framing == Framing::STREAM_FORMAT_UNCHANGED && configured ? Framing::STREAM_FORMAT_RAW_AAC : framing;
}

int MuxerFF::AddTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse)
{
    if (!source.parameters)
        Throw<std::invalid_argument>(TESSOR_HERE, "A track without parameters can't be written.");
    tracks.push_back(IsAttached(source) ? MakeTrack(MakeAttachment(source), nullptr, true)
                                        : MakeTrack(source, format, sparse));
    header.AddTrack(tracks.back().source, *tracks.back().parameters);
    return static_cast<int>(tracks.size()) - 1;
}

bool MuxerFF::IsAttached(const TrackInfo& cover) const
{
    return cover.attachedPicture && cover.picture &&
           container.ChooseCoverForm(cover.parameters->codec_id) == Container::CoverForm::Attachment;
}

/// The cover as a file inside of the file, under the name by which players look for it.
TrackInfo MuxerFF::MakeAttachment(const TrackInfo& cover) const
{
    TrackInfo attachment = cover;
    attachment.type = MediaType::None;
    attachment.attachedPicture = false;
    attachment.attachment = true;
    attachment.format = nullptr;
    attachment.disposition = 0;
    const auto parameters = NewParameters(*cover.parameters);
    parameters->codec_type = AVMEDIA_TYPE_ATTACHMENT;
    SetExtradata(*parameters, cover.picture->Data(), cover.picture->Size());
    attachment.parameters = parameters;
    const std::string type = Container::GetCoverType(parameters->codec_id);
    const auto others =
        std::count_if(tracks.begin(), tracks.end(), [](const Track& track) { return track.source.picture != nullptr; });
    if (!HasTag(attachment.tags, "filename"))
        attachment.tags.emplace_back("filename", "cover" + (others ? "-" + std::to_string(others + 1) : "") + "." +
                                                     (type == "image/jpeg" ? "jpg" : type.substr(type.find('/') + 1)));
    if (!HasTag(attachment.tags, "mimetype"))
        attachment.tags.emplace_back("mimetype", type);
    return attachment;
}

MuxerFF::Track MuxerFF::MakeTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse) const
{
    const auto parameters = NewParameters(*source.parameters);
    parameters->codec_tag = container.ChooseTag(parameters->codec_id, parameters->codec_tag);
    if (container.TakesBlocksForConstant(parameters->codec_id))
        parameters->block_align = 0;

    const SP<Conf::IFormatCodec>& described = format ? format : source.format;
    const SP<const IBlob> extradata = described ? described->GetExtradata() : nullptr;
    std::optional<H264EntryRepair> entries;
    if (parameters->codec_id == AV_CODEC_ID_H264)
        entries.emplace(extradata);
    // The header of an ADTS frame is no AudioSpecificConfig: libavformat finds that in the packets.
    if (extradata && parameters->codec_id == AV_CODEC_ID_AAC &&
        Proc::CodecParsers::HasADTSHeader(extradata->Data(), extradata->Size()))
        SetExtradata(*parameters, nullptr, 0);
    else if (extradata)
        SetExtradata(*parameters, extradata->Data(), extradata->Size());

    // Readers take it off all times; the writer leaves it to us to add it.
    const bool delayed =
        container.TellsDelay(parameters->codec_id) && parameters->initial_padding > 0 && parameters->sample_rate > 0;
    const avTime delay =
        delayed ? av_rescale(parameters->initial_padding, MICROSECONDS.den, parameters->sample_rate) : 0;
    const bool reorders = source.type == MediaType::Video && !source.attachedPicture;
    std::optional<CountedPictures> pictures;
    if (reorders && container.CountsPackets())
        pictures.emplace(*parameters);
    return Track{source,
                 parameters,
                 entries,
                 std::move(pictures),
                 DtsRepair(reorders ? LOOK_AHEAD : 0, container.TakesEqualTimes(source.type) ? 0 : 1),
                 sparse || source.attachment || source.attachedPicture,
                 delay};
}

// Only now are the ticks settled, in which packets come from here on; Start writes the header, once it knows the shift.
void MuxerFF::Open()
{
    context = header.MakeContext();
    file = std::make_unique<OutputFile>(path, settings.checkpoint);
    if (!settings.datesOf.empty())
        file->TakeDates(settings.datesOf);
    context->pb = file->GetContext();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    AVDictionary* options = header.MakeOptions(*context);
    Run("the header", [&] { return avformat_init_output(context.get(), &options); });
    av_dict_free(&options);
    if (container.IsProgramStream())
        program.emplace(*file->GetContext());
    for (size_t i = 0; i < tracks.size(); ++i)
    {
        Track& track = tracks[i];
        if (program)
            program->AddTrack(*track.parameters);
        AVStream& stream = *context->streams[i];
        track.ticks = IsCountedSound(container, stream) ? MICROSECONDS : stream.time_base;
        track.stages = MakeTrackStages(container, track.source, *track.parameters, stream, *this);
        interleaver.AddTrack({track.ticks, track.source.type == MediaType::Video ? 0 : 1, track.sparse});
        if (track.source.attachment)
            EndTrack(static_cast<int>(i));
    }
}

void MuxerFF::Write(int number, const SP<IDataPacket>& packet)
{
    Track& track = tracks.at(static_cast<size_t>(number));
    if (track.source.attachment)
        return;
    PacketPtr ticks = ToTicks(track.entries ? *track.entries->Repair(packet) : *packet, track);
    if ((ticks->flags & AV_PKT_FLAG_DISCARD) != 0)
        Hide(track, *ticks, packet->GetPTS());
    // sparse tracks are not waited for, so their first packet may come too late for the shift: FromZero cuts it
    if (!started && !track.sparse && packet->GetPTS() != NoTime)
        earliest = std::min(earliest, AddTime(packet->GetPTS(), track.delay));
    if (!grid && container.CountsPictures() && track.source.type == MediaType::Video)
        // what rounding to counted ticks has moved the first picture by; all the other tracks go along
        grid = SubTime(av_rescale_q(ticks->pts, ticks->time_base, MICROSECONDS), packet->GetPTS());
    if (track.pictures)
        track.pictures->Push(std::move(ticks));
    else
        track.repair.Push(std::move(ticks));
    Settle(number);
    Drain();
}

/// A packet that is decoded only. An edit list leaves it out, and ends with the last packet that lasts (ISO/IEC
/// 14496-12, 8.6.6); elsewhere it is shown.
void MuxerFF::Hide(Track& track, AVPacket& packet, avTime time) const
{
    if (container.CarriesEditLists())
        packet.duration = 0;
    else
        track.exposed.push_back(time);
}

PacketPtr MuxerFF::ToTicks(const IDataPacket& packet, const Track& track)
{
    PacketPtr result(av_packet_clone(packet.GetAVPacket()));
    if (!result)
        throw std::bad_alloc();
    const AVRational timeBase = track.ticks;
    const avTime pts = AddTime(packet.GetPTS(), track.delay), duration = packet.GetDuration();
    result->pts = ToTick(pts, timeBase);
    result->dts = ToTick(AddTime(packet.GetDTS(), track.delay), timeBase);
    // By the end, not by the length: rounding then doesn't add up.
    result->duration = duration == NoTime || duration <= 0 ? 0
                       : pts == NoTime                     ? ToTick(duration, timeBase)
                                                           : ToTick(AddTime(pts, duration), timeBase) - result->pts;
    result->time_base = timeBase;
    // the place in the source's file, which some muxers would take for one in theirs
    result->pos = -1;
    return result;
}

void MuxerFF::EndTrack(int number)
{
    Track& track = tracks.at(static_cast<size_t>(number));
    if (track.ended)
        return;
    track.ended = true;
    if (track.pictures)
        track.pictures->End();
    Settle(number);
    interleaver.EndTrack(number);
    Drain();
}

/// Hands on what the repair has settled.
void MuxerFF::Settle(int number)
{
    Track& track = tracks[static_cast<size_t>(number)];
    while (PacketPtr packet = track.pictures ? track.pictures->Pull() : nullptr)
        track.repair.Push(std::move(packet));
    if (track.ended)
        track.repair.End();
    while (PacketPtr packet = track.repair.Pull())
        interleaver.Push(number, std::move(packet));
}

void MuxerFF::Drain()
{
    while (PacketPtr packet = interleaver.Pull())
    {
        if (!started)
            Start(*packet);
        WriteOut(std::move(packet));
    }
}

/// Settles the common shift, which brings times that the container can't tell to where it can. `first`: the packet with
/// the lowest decoding time of all.
void MuxerFF::Start(const AVPacket& first)
{
    if (container.GetOrigin() == Container::Origin::Decoding)
    {
        // in whole ticks, which the rounding up of WriteOut finds again
        const int64_t lead = av_rescale_q_rnd(container.GetLead(), MICROSECONDS, first.time_base, AV_ROUND_UP);
        const int64_t ticks = std::max<int64_t>(lead - first.dts, 0);
        shift = av_rescale_q_rnd(ticks, first.time_base, MICROSECONDS, AV_ROUND_DOWN);
    }
    else if (container.GetOrigin() == Container::Origin::Presentation)
        shift = -earliest;
    else if (grid)
        shift = *grid;
    else if (container.BeginsAtZero(TrackOf(first).parameters->codec_id))
        shift = -av_rescale_q(first.pts, first.time_base, MICROSECONDS);
    WriteHeader();
}

void MuxerFF::WriteHeader()
{
    started = true;
    header.AddChapters(*context, shift);
    Run("the header", [&] { return avformat_write_header(context.get(), nullptr); });
    // libavformat would guess a length by it where a hidden packet has none
    for (unsigned i = 0; i < context->nb_streams; ++i)
        if (container.CarriesEditLists())
            context->streams[i]->avg_frame_rate = {0, 1};
}

void MuxerFF::WriteOut(PacketPtr packet)
{
    Track& track = TrackOf(*packet);
    const bool onGrid = grid && track.source.type == MediaType::Video;
    // The pictures have moved already, by rounding. Up, so that what the shift has made 0 does not come out below.
    const int64_t ticks = onGrid ? 0 : av_rescale_q_rnd(shift, MICROSECONDS, packet->time_base, AV_ROUND_UP);
    packet->pts += ticks;
    packet->dts += ticks;
    track.stages->Push(std::move(packet));
}

// For a program stream libavformat's multiplexer stays without a packet, and then writes neither header nor trailer.
void MuxerFF::Hand(AVPacket& packet)
{
    if (program)
        program->Write(packet);
    const std::string what = "track " + std::to_string(TrackOf(packet).source.index);
    Run(what, [&] { return program ? 0 : av_write_frame(context.get(), &packet); });
}

void MuxerFF::Flush()
{
    Run("what was gathered", [&] { return av_write_frame(context.get(), nullptr); });
}

void MuxerFF::Refuse(const std::string& cause)
{
    file->Fail(cause);
}

void MuxerFF::Finish()
{
    for (size_t i = 0; i < tracks.size(); ++i)
        EndTrack(static_cast<int>(i));
    if (!started)
        WriteHeader();
    for (const Track& track : tracks)
        track.stages->Finish();
    if (program)
        program->Finish();
    Run("the end of the file", [&] { return av_write_trailer(context.get()); });
    if (container.NeedsLength())
        FillUp();
    if (settings.indexFirst && container.EndsWithIndex())
        BringIndexForward();
    file->Commit(settings.overwrite);
}

/// Null packets, for readers that believe in a transport stream only when they have seen some packets of it.
void MuxerFF::FillUp()
{
    std::array<uint8_t, TRANSPORT_PACKET> null;
    null.fill(0xFF);
    // sync_byte, the PID 0x1FFF and "payload only" (ISO/IEC 13818-1, 2.4.3.2)
    const uint8_t header[] = {0x47, 0x1F, 0xFF, 0x10};
    std::copy(std::begin(header), std::end(header), null.begin());
    while (avio_tell(context->pb) < LEAST_TRANSPORT_PACKETS * TRANSPORT_PACKET)
        avio_write(context->pb, null.data(), TRANSPORT_PACKET);
}

void MuxerFF::BringIndexForward()
try
{
    if (const int written = file->Complete(); written >= 0)
        MovIndex(written).BringForward();
}
catch (const std::system_error& e)
{
    file->Fail("the index can't be brought forward: " + DescribeError(AVERROR(e.code().value())));
}

/// Throws for a failure of the call or, which tells more, of the file.
template <class Call>
void MuxerFF::Run(const std::string& what, Call call) const
{
    const FFmpegErrorCapture errors;
    const int result = call();
    file->Check();
    if (result < 0)
        file->Fail(what + " can't be written: " + errors.GetText(result));
}

std::vector<avTime> MuxerFF::GetExposed(int track) const
{
    return tracks.at(static_cast<size_t>(track)).exposed;
}

std::vector<std::string> MuxerFF::GetLosses() const
{
    std::vector<std::string> losses = header.GetLosses();
    for (size_t i = 0; i < tracks.size(); ++i)
    {
        for (std::string& loss : header.GetLosses(i))
            losses.push_back(std::move(loss));
        const std::vector<avTime>& exposed = tracks[i].exposed;
        // hidden sound is a decoder's run-in, which players hardly let be heard
        if (!exposed.empty() && tracks[i].source.type == MediaType::Video)
            losses.push_back("the edit list that hides " + Count(static_cast<long long>(exposed.size()), "picture") +
                             " of track " + std::to_string(tracks[i].source.index) + ", which are shown");
    }
    return losses;
}

} // namespace Tessor::Host
