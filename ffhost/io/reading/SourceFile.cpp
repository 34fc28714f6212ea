#include "ffhost/io/reading/SourceFile.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"
#include "ffhost/Log.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/reading/ReadFailure.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Tessor::Host
{

namespace
{

// libavformat looks at 5 MB by default. Tables that follow and tracks that begin late lie beyond.
constexpr int64_t DEEP_PROBE_BYTES = 200000000;
constexpr int64_t DEEP_PROBE_TIME = 60 * static_cast<int64_t>(AV_TIME_BASE);
// Where a demuxer has nothing at the moment, or makes nothing of the data, it is asked again. Damaged data could make
// it say so for ever.
constexpr int MAX_RETRIES = 1000;
constexpr std::string_view INDEXED = "mov,mp4,m4a,3gp,3g2,mj2"; // QuickTime's family

/// What libavformat leaves open of a stream when it has met no packet that describes it.
bool IsUnknown(const AVCodecParameters& parameters)
{
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
        return parameters.codec_id == AV_CODEC_ID_NONE || parameters.width <= 0;
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO)
        return parameters.codec_id == AV_CODEC_ID_NONE || parameters.sample_rate <= 0;
    return false;
}

/// By the first packets in their indexes; a stream that has none comes last.
bool StartsBefore(AVStream& a, AVStream& b)
{
    const AVIndexEntry* const first = avformat_index_get_entry(&a, 0);
    const AVIndexEntry* const other = avformat_index_get_entry(&b, 0);
    return first && (!other || av_compare_ts(first->timestamp, a.time_base, other->timestamp, b.time_base) < 0);
}

bool HasUnknownStream(const AVFormatContext& context)
{
    for (unsigned i = 0; i < context.nb_streams; ++i)
        if (IsUnknown(*context.streams[i]->codecpar))
            return true;
    return false;
}

/// A page of Ogg tells where its last packet ends. To place the others, libavformat needs their lengths, which it knows
/// for some codecs only. For the rest it counts, after a seek, from an entry of its index, which may belong to any
/// packet of the page, or to another stream.
bool HasUntimedPages(const AVFormatContext& context)
{
    constexpr std::array timed{AV_CODEC_ID_VORBIS, AV_CODEC_ID_OPUS, AV_CODEC_ID_THEORA, AV_CODEC_ID_VP8};
    if (std::string_view(context.iformat->name) != "ogg")
        return false;
    for (unsigned i = 0; i < context.nb_streams; ++i)
        if (std::find(timed.begin(), timed.end(), context.streams[i]->codecpar->codec_id) == timed.end())
            return true;
    return false;
}

/// libavformat seeks in WAVE and its kin by bit rate, which finds packets only where a sample has a whole number of
/// bits.
bool IsSoughtByBitRate(const AVFormatContext& context)
{
    const std::string_view name = context.iformat->name;
    if (name != "wav" && name != "w64" && name != "aiff" && name != "au")
        return false;
    const AVCodecID codec = context.streams[0]->codecpar->codec_id;
    return av_get_bits_per_sample(codec) > 0 && av_get_exact_bits_per_sample(codec) == 0;
}

/// Whoever writes WAVE to a pipe can't tell how long it is. Its last packet is as long as what is left, which
/// libavformat takes for a part of one.
bool IsLastOfUntold(const AVFormatContext& context)
{
    return std::string_view(context.iformat->name) == "wav" && avio_feof(context.pb) &&
           context.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
}

} // namespace

void SourceFile::ContextDeleter::operator()(AVFormatContext* context) const
{
    avformat_close_input(&context);
}

SourceFile::SourceFile(const std::string& path, const DemuxerSettings& settings) : path(path), settings(settings)
{
    RouteFFmpegLog();
    Open();
    // The survey has taken packets from the beginning, and what it found goes in where a file is opened.
    if (SurveyHeaders(*context, headers))
    {
        Check(*gate);
        Open();
    }
    FindStreams();
    if (context->nb_streams == 0)
        Fail("holds no tracks");
    selected.assign(context->nb_streams, false);
    ApplySelection();
}

// libavformat reads megabytes before it hands out a packet. It is C, so that no exception may pass through it: the one
// of the checkpoint makes it give up, and goes on from here.
int SourceFile::CallWatched(const std::function<int()>& call)
{
    watching = true;
    const int code = call();
    watching = false;
    if (interruption)
        std::rethrow_exception(std::exchange(interruption, nullptr));
    if (code == AVERROR(ENOMEM))
        throw std::bad_alloc();
    return code;
}

void SourceFile::Check(const InputGate& used) const
{
    if (!used.GetRefused().empty())
        Fail("refers to another file, which is not opened: " + used.GetRefused());
    if (const int error = used.GetError())
        Throw<ReadFailure>(TESSOR_HERE, NameInput(path) + ": can't be read: " + DescribeError(AVERROR(error)));
}

int SourceFile::IsInterrupted(void* file)
{
    SourceFile& self = *static_cast<SourceFile*>(file);
    if (!self.watching || !self.settings.checkpoint)
        return 0;
    try
    {
        self.settings.checkpoint();
    }
    catch (...)
    {
        self.interruption = std::current_exception();
    }
    return self.interruption ? 1 : 0;
}

void SourceFile::Open()
{
    auto newGate = std::make_unique<InputGate>(path, settings, AVIOInterruptCB{IsInterrupted, this});
    AVFormatContext* opened = avformat_alloc_context();
    if (!opened)
        throw std::bad_alloc();
    newGate->Install(*opened);
    AVDictionary* options = nullptr;
    if (deep)
    {
        av_dict_set_int(&options, "probesize", DEEP_PROBE_BYTES, 0);
        av_dict_set_int(&options, "analyzeduration", DEEP_PROBE_TIME, 0);
        // without this, a transport stream counts as described by its first table
        av_dict_set(&options, "scan_all_pmts", "1", 0);
    }
    const FFmpegErrorCapture errors;
    const int code = CallWatched(
        [&]
        {
            const int result = avformat_open_input(&opened, newGate->GetUrl().c_str(), nullptr, &options);
            av_dict_free(&options);
            if (result >= 0)
                TakeOver(opened, std::move(newGate));
            return result;
        });
    const std::string cause = errors.GetText().empty() ? "" : " (" + errors.GetText() + ")";
    Check(newGate ? *newGate : *gate);
    if (const std::string obstacle = code < 0 ? newGate->DescribeFormatObstacle() : ""; !obstacle.empty())
        Fail(obstacle);
    if (code < 0)
        Fail(code == AVERROR_INVALIDDATA ? "unknown format or damaged header" + cause
                                         : "can't be opened: " + errors.GetText(code));
    ReplaceHeaders();
}

void SourceFile::TakeOver(AVFormatContext* opened, std::unique_ptr<InputGate> itsGate)
{
    context.reset(opened);
    gate = std::move(itsGate);
}

// Comes before libavformat looks at the streams, since it goes by their headers, too.
void SourceFile::ReplaceHeaders()
{
    for (const auto& [index, found] : headers)
    {
        if (index >= static_cast<int>(context->nb_streams))
            continue;
        AVCodecParameters& parameters = *Stream(index).codecpar;
        av_freep(&parameters.extradata);
        parameters.extradata_size = 0;
        if (found.header.empty())
            continue;
        const size_t size = found.header.size();
        parameters.extradata = static_cast<uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
        if (!parameters.extradata)
            throw std::bad_alloc();
        std::copy(found.header.begin(), found.header.end(), parameters.extradata);
        parameters.extradata_size = static_cast<int>(size);
    }
}

void SourceFile::FindStreams()
{
    const auto look = [this] { return avformat_find_stream_info(context.get(), nullptr); };
    const int code = CallWatched(look);
    // A format with a header names its streams there, and a longer look finds no more. Transport streams name theirs in
    // tables that come again and again, program streams in nothing but their packets (AVFMTCTX_NOHEADER).
    const bool noHeader = (context->ctx_flags & AVFMTCTX_NOHEADER) != 0 || context->iformat->flags & AVFMT_TS_DISCONT;
    const bool incomplete = code < 0 || (noHeader && HasUnknownStream(*context));
    if (incomplete && !std::exchange(deep, true))
    {
        // libavformat can look for what is missing once only
        Open();
        CallWatched(look);
    }
    // The look has put the container's own headers back, which libavformat had remembered.
    ReplaceHeaders();
    FindPacked();
}

void SourceFile::FindPacked()
{
    packed.clear();
    for (int i = 0; i < static_cast<int>(context->nb_streams); ++i)
        if (AVCodecParameters& parameters = *Stream(i).codecpar; PictureUnpacker::IsPacked(parameters))
            packed.emplace(i, parameters);
}

bool SourceFile::LookDeeper()
{
    if (late.empty() || deep)
        return false;
    deep = rewinding = atStart = true;
    late.clear();
    Open();
    FindStreams();
    selected.assign(context->nb_streams, false);
    ApplySelection();
    return true;
}

PacketPtr SourceFile::Read()
{
    if (settings.checkpoint)
        settings.checkpoint();
    PacketPtr packet(av_packet_alloc());
    if (!packet)
        throw std::bad_alloc();
    if (std::exchange(rewinding, false) && !SeekToFirst())
        Reopen();
    atStart = false;
    for (int retries = 0; retries < MAX_RETRIES;)
    {
        const int code = av_read_frame(context.get(), packet.get());
        Check(*gate);
        if (code == AVERROR(ENOMEM))
            throw std::bad_alloc();
        if (code == AVERROR_EOF)
            return nullptr;
        if (code >= 0 && Takes(*packet))
            return packet;
        av_packet_unref(packet.get());
        // one damaged place, however often it is asked for
        damaged += code < 0 && code != AVERROR(EAGAIN) && retries == 0;
        retries = code >= 0 ? retries : MovedOn() ? 1 : retries + 1;
    }
    return nullptr;
}

bool SourceFile::Takes(AVPacket& packet)
{
    // libavformat adds streams while it reads; ours are numbered since the file was opened
    if (packet.stream_index >= StreamCount())
        NoteLate(packet);
    else if (IsSelected(packet.stream_index))
    {
        damaged += (packet.flags & AV_PKT_FLAG_CORRUPT) != 0 && !IsLastOfUntold(*context);
        ForgetGuess(packet);
        return Unpack(packet);
    }
    return false;
}

/// Whether the demuxer has come further than where it met damage before.
bool SourceFile::MovedOn()
{
    const long long place = GetProgress().first;
    return std::exchange(furthest, std::max(furthest, place)) < place;
}

// AVI tells no presentation times. That of the first packet libavformat makes up before it knows of reordering. Where
// pictures are packed, times that look like such are those of packets. DisplayOrder then gives pictures their own.
void SourceFile::ForgetGuess(AVPacket& packet) const
{
    const bool counted = packet.dts != AV_NOPTS_VALUE && std::string_view(context->iformat->name) == "avi";
    const bool ofPacket = packet.pts == packet.dts && packed.contains(packet.stream_index);
    if ((counted || ofPacket) && context->streams[packet.stream_index]->codecpar->video_delay > 0)
        packet.pts = AV_NOPTS_VALUE;
}

bool SourceFile::Unpack(AVPacket& packet)
{
    const auto found = packed.find(packet.stream_index);
    return found == packed.end() || found->second.Unpack(packet);
}

void SourceFile::ForgetPacked()
{
    for (auto& [stream, unpacker] : packed)
        unpacker.Reset();
}

void SourceFile::NoteLate(const AVPacket& packet)
{
    const AVStream& stream = Stream(packet.stream_index);
    const auto known = [&](const LateStream& other) { return other.id == stream.id; };
    if (std::any_of(late.begin(), late.end(), known))
        return;
    // for a warning only: jumps of the clock are not followed here
    const int64_t ticks = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    const int64_t origin = context->start_time != AV_NOPTS_VALUE ? context->start_time : 0;
    const avTime time = ticks == AV_NOPTS_VALUE
                            ? NoTime
                            : SubTime(av_rescale_q(ticks, stream.time_base, AVRational{1, AV_TIME_BASE}), origin);
    late.push_back({stream.id, avcodec_get_name(stream.codecpar->codec_id), time});
}

// Some formats look the time up among decoding times, others among presentation times: callers read on to see where the
// file stands.
bool SourceFile::Seek(int stream, avTime time)
{
    const int64_t ticks = av_rescale_q(time, AVRational{1, AV_TIME_BASE}, Stream(stream).time_base);
    if (!SeekFrame(stream, ticks, AVSEEK_FLAG_BACKWARD))
        return false;
    atStart = rewinding = false;
    ForgetPacked();
    return true;
}

bool SourceFile::SeekToByte(long long position)
{
    if (!SeekFrame(-1, position, AVSEEK_FLAG_BYTE))
        return false;
    atStart = rewinding = false;
    ForgetPacked();
    return true;
}

bool SourceFile::SeekFrame(int stream, int64_t place, int flags)
{
    const int code = av_seek_frame(context.get(), stream, place, flags);
    Check(*gate);
    if (code == AVERROR(ENOMEM))
        throw std::bad_alloc();
    return code >= 0;
}

void SourceFile::Rewind()
{
    rewinding = rewinding || !atStart;
    atStart = true;
    furthest = damaged = 0;
}

// By the index of a file that gives each packet its place and all of its times: libavformat then reads as from a file
// that was opened anew, whose index would take long to read.
bool SourceFile::SeekToFirst()
{
    if (!IsIndexed())
        return false;
    int first = -1;
    for (int i = 0; i < static_cast<int>(context->nb_streams); ++i)
        if (first < 0 || StartsBefore(Stream(i), Stream(first)))
            first = i;
    const AVIndexEntry* const entry = avformat_index_get_entry(&Stream(first), 0);
    // The other streams are sought to the time of this one, and so to their first packets.
    ForgetPacked();
    return entry && SeekFrame(first, entry->timestamp, AVSEEK_FLAG_ANY | AVSEEK_FLAG_BACKWARD);
}

// What holds for all formats: a seek to the first time lands on an entry point, and what lies before (priming, leading
// pictures, packets of other tracks) would be left out.
void SourceFile::Reopen()
{
    Open();
    FindStreams();
    // A file that was changed under us must not shift the numbers of its tracks.
    if (context->nb_streams < selected.size())
        Fail("has changed");
    ApplySelection();
}

void SourceFile::Select(int stream)
{
    selected[static_cast<size_t>(stream)] = true;
    ApplySelection();
}

void SourceFile::SelectNone()
{
    selected.assign(selected.size(), false);
    ApplySelection();
}

AVStream& SourceFile::Stream(int index) const
{
    return *context->streams[index];
}

std::string SourceFile::GetHeaderFault(int stream) const
{
    const auto found = headers.find(stream);
    return found != headers.end() ? found->second.fault : "";
}

bool SourceFile::IsIndexed() const
{
    return std::string_view(context->iformat->name) == INDEXED;
}

bool SourceFile::IsElementary() const
{
    if (HasUntimedPages(*context) || IsSoughtByBitRate(*context))
        return true;
    // Without an Xing table an MP3 file is sought by its bit rate only, and the table has 100 places for all of a file.
    return (context->iformat->flags & AVFMT_NOTIMESTAMPS) != 0 ||
           context->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE ||
           std::string_view(context->iformat->name) == "mp3";
}

std::pair<long long, long long> SourceFile::GetProgress() const
{
    if (!context->pb)
        return {0, 0};
    return {std::max<int64_t>(0, avio_tell(context->pb)), std::max<int64_t>(0, avio_size(context->pb))};
}

// libavformat does not even read the packets of a discarded stream from a file of QuickTime's family.
void SourceFile::ApplySelection()
{
    for (unsigned i = 0; i < context->nb_streams; ++i)
        context->streams[i]->discard = i < selected.size() && selected[i] ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
}

void SourceFile::Fail(const std::string& cause) const
{
    Throw<Core::IOException>(TESSOR_HERE, NameInput(path) + ": " + cause);
}

} // namespace Tessor::Host
