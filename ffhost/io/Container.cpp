#include "ffhost/io/Container.h"

#include "Fnd/Exception.h"
#include "ffhost/FormatCompat.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/writing/ProgramStream.h"
#include "ffhost/io/writing/QuickTimeLanguage.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <sstream>

namespace Tessor::Host
{

namespace
{

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string ExtensionOf(const std::string& path)
{
    const size_t dot = path.find_last_of("./");
    return dot == std::string::npos || path[dot] == '/' ? "" : Lower(path.substr(dot + 1));
}

/// Where libavformat's own guess is missing, or not what the name means today: it writes MPEG-1 systems under mpg, and
/// a bare stream of MPEG-4 under m4v.
const std::map<std::string, const char*> MUXERS = {
    {"mpg", "vob"},  {"mpeg", "vob"},   {"vob", "vob"},        {"ps", "vob"},         {"m4v", "mp4"},
    {"m4a", "ipod"}, {"mts", "mpegts"}, {"m2ts", "mpegts"},    {"ts", "mpegts"},      {"264", "h264"},
    {"avc", "h264"}, {"265", "hevc"},   {"m1v", "mpeg1video"}, {"m2v", "mpeg2video"},
};

/// Codecs that a transport stream names by a type of its own or a registered descriptor.
const std::set<AVCodecID> TRANSPORT_CODECS = {
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4,        AV_CODEC_ID_H264,
    AV_CODEC_ID_HEVC,       AV_CODEC_ID_VC1,        AV_CODEC_ID_DIRAC,        AV_CODEC_ID_CAVS,
    AV_CODEC_ID_MP2,        AV_CODEC_ID_MP3,        AV_CODEC_ID_AAC,          AV_CODEC_ID_AAC_LATM,
    AV_CODEC_ID_AC3,        AV_CODEC_ID_EAC3,       AV_CODEC_ID_DTS,          AV_CODEC_ID_TRUEHD,
    AV_CODEC_ID_OPUS,       AV_CODEC_ID_S302M,      AV_CODEC_ID_DVB_SUBTITLE, AV_CODEC_ID_DVB_TELETEXT,
};

/// Those that Blu-ray knows. In its form of a transport stream libavformat names all others as private data, and
/// readers guess the codec, for which a short piece holds too little.
const std::set<AVCodecID> BLU_RAY_CODECS = {
    AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_VC1,    AV_CODEC_ID_PCM_BLURAY,
    AV_CODEC_ID_AC3,        AV_CODEC_ID_EAC3, AV_CODEC_ID_DTS,  AV_CODEC_ID_TRUEHD, AV_CODEC_ID_HDMV_PGS_SUBTITLE,
};

/// What ISO/IEC 13818-1 and DVD-Video have numbers for (see ProgramStream).
const std::set<AVCodecID> PROGRAM_CODECS = {
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO,   AV_CODEC_ID_H264, AV_CODEC_ID_MP2,
    AV_CODEC_ID_MP3,        AV_CODEC_ID_AC3,          AV_CODEC_ID_DTS,  AV_CODEC_ID_PCM_S16BE,
    AV_CODEC_ID_PCM_DVD,    AV_CODEC_ID_DVD_SUBTITLE,
};

/// What AVI's readers find by its tag alone: packets without times of their own, and without a configuration.
const std::set<AVCodecID> AVI_CODECS = {
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4,     AV_CODEC_ID_MSMPEG4V1,
    AV_CODEC_ID_MSMPEG4V2,  AV_CODEC_ID_MSMPEG4V3,  AV_CODEC_ID_H263,      AV_CODEC_ID_H264,
    AV_CODEC_ID_WMV1,       AV_CODEC_ID_WMV2,       AV_CODEC_ID_WMV3,      AV_CODEC_ID_VC1,
    AV_CODEC_ID_VP8,        AV_CODEC_ID_MJPEG,      AV_CODEC_ID_DVVIDEO,   AV_CODEC_ID_HUFFYUV,
    AV_CODEC_ID_FFVHUFF,    AV_CODEC_ID_FFV1,       AV_CODEC_ID_UTVIDEO,   AV_CODEC_ID_RAWVIDEO,
    AV_CODEC_ID_CINEPAK,    AV_CODEC_ID_INDEO3,     AV_CODEC_ID_MSVIDEO1,  AV_CODEC_ID_PNG,
    AV_CODEC_ID_MP2,        AV_CODEC_ID_MP3,        AV_CODEC_ID_AC3,       AV_CODEC_ID_DTS,
    AV_CODEC_ID_PCM_U8,     AV_CODEC_ID_PCM_S16LE,  AV_CODEC_ID_PCM_S24LE, AV_CODEC_ID_PCM_S32LE,
    AV_CODEC_ID_PCM_ALAW,   AV_CODEC_ID_PCM_MULAW,  AV_CODEC_ID_ADPCM_MS,  AV_CODEC_ID_ADPCM_IMA_WAV,
    AV_CODEC_ID_WMAV1,      AV_CODEC_ID_WMAV2,
};

/// H.264 is not among them: readers of ASF find no pictures in it that their decoders take.
const std::set<AVCodecID> ASF_CODECS = {
    AV_CODEC_ID_WMV1,      AV_CODEC_ID_WMV2,        AV_CODEC_ID_WMV3,      AV_CODEC_ID_VC1,       AV_CODEC_ID_MSMPEG4V2,
    AV_CODEC_ID_MSMPEG4V3, AV_CODEC_ID_MPEG4,       AV_CODEC_ID_MJPEG,     AV_CODEC_ID_WMAV1,     AV_CODEC_ID_WMAV2,
    AV_CODEC_ID_WMAPRO,    AV_CODEC_ID_WMALOSSLESS, AV_CODEC_ID_WMAVOICE,  AV_CODEC_ID_MP2,       AV_CODEC_ID_MP3,
    AV_CODEC_ID_AC3,       AV_CODEC_ID_PCM_U8,      AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_S24LE,
};

/// Readers of WAVE do not know where packets end, and those of these codecs don't tell.
const std::set<AVCodecID> NEVER_IN_WAVE = {AV_CODEC_ID_AAC,   AV_CODEC_ID_FLAC,  AV_CODEC_ID_OPUS,  AV_CODEC_ID_VORBIS,
                                           AV_CODEC_ID_SPEEX, AV_CODEC_ID_WMAV1, AV_CODEC_ID_WMAV2, AV_CODEC_ID_WMAPRO};

/// QuickTime's description of samples tells how many bits a pixel has; Matroska keeps too little of it.
const std::set<AVCodecID> NEVER_IN_MATROSKA = {AV_CODEC_ID_QTRLE, AV_CODEC_ID_8BPS};

bool HasUnofficialData(const AVStream* stream)
{
    return FFmpeg::FindSideData(*stream, AV_PKT_DATA_DOVI_CONF) ||
           FFmpeg::FindSideData(*stream, AV_PKT_DATA_SPHERICAL) || FFmpeg::FindSideData(*stream, AV_PKT_DATA_STEREO3D);
}

/// Ticks finer than packets' own microseconds are of no use.
constexpr int FINEST = SECOND;

/// Ticks a second with which a time off the source's own grid is still told to a millisecond.
constexpr int FINE_ENOUGH = 500;

/// Frames a second below which cuts may fall between them.
constexpr int SLOWEST = 10;

} // namespace

const std::map<std::string_view, Container::Family> Container::FAMILIES = {
    {"mov", Family::Mov},           {"mp4", Family::Mov},
    {"ipod", Family::Mov},          {"3gp", Family::Mov},
    {"3g2", Family::Mov},           {"psp", Family::Mov},
    {"f4v", Family::Mov},           {"ismv", Family::Mov},
    {"matroska", Family::Matroska}, {"webm", Family::Matroska},
    {"ogg", Family::Ogg},           {"ogv", Family::Ogg},
    {"oga", Family::Ogg},           {"opus", Family::Ogg},
    {"spx", Family::Ogg},           {"mpeg", Family::ProgramStream},
    {"vob", Family::ProgramStream}, {"svcd", Family::ProgramStream},
    {"dvd", Family::ProgramStream}, {"mpegts", Family::TransportStream},
    {"avi", Family::Avi},           {"asf", Family::Asf},
    {"asf_stream", Family::Asf},
};

Container Container::Make(const AVOutputFormat* format)
{
    Container container;
    // Folders of pictures and devices are no files.
    if (!format || (format->flags & (AVFMT_NOFILE | AVFMT_NEEDNUMBER)))
        return container;
    container.format = format;
    const auto family = FAMILIES.find(format->name);
    container.family = family != FAMILIES.end() ? family->second : Family::Other;
    return container;
}

Container Container::Guess(const std::string& path)
{
    const std::string extension = ExtensionOf(path);
    const auto known = MUXERS.find(extension);
    Container container = Make(known != MUXERS.end() ? av_guess_format(known->second, nullptr, nullptr)
                                                     : av_guess_format(nullptr, Lower(path).c_str(), nullptr));
    container.bluRay = extension == "m2ts" || extension == "mts";
    return container;
}

// A container that no name of a file stands for is one of parts, lists or devices.
Container Container::Choose(const std::string& path, const std::string& name)
{
    if (name.empty())
        return Guess(path);
    for (const auto& [extension, known] : ListExtensions())
        if (known->name == name)
            return Make(known);
    return {};
}

Container Container::Require(const std::string& path, const std::string& name)
{
    const auto fail = [&](const std::string& cause)
    { Throw<Core::IOException>(TESSOR_HERE, NameOutput(path) + ": " + cause); };
    Container container = Choose(path, name);
    if (name.empty() && IsStandardStream(path))
        fail("its container has to be named, as there is no file whose name tells it");
    if (!container.GetFormat())
        fail(name.empty() ? "no container of that name can be written" : "no container " + name + " can be written");
    if (IsStandardStream(path) && !container.CanBeStreamed())
        fail("a container of the kind " + name + " is complete only when what was written first is changed at the end");
    return container;
}

std::map<std::string, const AVOutputFormat*> Container::ListExtensions()
{
    std::map<std::string, const AVOutputFormat*> list;
    const auto add = [&](std::string extension)
    {
        // one of them has "a64, A64"
        std::erase(extension, ' ');
        extension = Lower(extension);
        if (const AVOutputFormat* known = Guess("." + extension).GetFormat())
            list.emplace(extension, known);
    };
    void* at = nullptr;
    while (const AVOutputFormat* muxer = av_muxer_iterate(&at))
    {
        std::istringstream extensions(muxer->extensions ? muxer->extensions : "");
        for (std::string extension; std::getline(extensions, extension, ',');)
            add(extension);
    }
    for (const auto& [extension, muxer] : MUXERS)
        add(extension);
    return list;
}

// What has no times is one packet after the other, but for some whose headers count them.
bool Container::CanBeStreamed() const
{
    const bool bare = (format->flags & AVFMT_NOTIMESTAMPS) && !Is({"adx", "ico", "mxf", "rso", "sox", "wv"});
    return bare || family == Family::TransportStream || family == Family::ProgramStream || IsMatroska() || IsOgg() ||
           Is({"nut", "flv", "wav", "yuv4mpegpipe"});
}

AVDictionary* Container::MakeOptions(const AVFormatContext& context) const
{
    AVDictionary* options = nullptr;
    const auto known = [](const AVStream* stream) { return BLU_RAY_CODECS.count(stream->codecpar->codec_id) != 0; };
    const bool all = std::all_of(context.streams, context.streams + context.nb_streams, known);
    // libavformat would go by the name
    if (family == Family::TransportStream)
        av_dict_set_int(&options, "mpegts_m2ts_mode", bluRay && all, 0);
    // Edit lists count in these ticks; the default of a millisecond would move tracks against each other.
    if (IsMov())
        av_dict_set(&options, "movie_timescale", "90000", 0);
    // Sizes of WAV end at 4 GiB; what becomes larger is written as RF64 (EBU Tech 3306).
    // Which of them it is stands at the start: on its way through a pipe it is WAV of no known length.
    if (Is({"wav"}) && context.pb && (context.pb->seekable & AVIO_SEEKABLE_NORMAL))
        av_dict_set(&options, "rf64", "auto", 0);
    // The distance between a packet's arrival and its decoding, from which multiplexes derive their clock.
    if (family == Family::TransportStream || family == Family::ProgramStream)
        av_dict_set_int(&options, "max_delay", 700000, 0);
    // no random numbers, and no versions of libraries: the same input gives the same bytes
    av_dict_set(&options, "fflags", "+bitexact", 0);
    // What is said of Dolby Vision and of spherical pictures counts as unofficial.
    if (std::any_of(context.streams, context.streams + context.nb_streams, HasUnofficialData))
        av_dict_set_int(&options, "strict", FF_COMPLIANCE_UNOFFICIAL, 0);
    // MuxerFF has a shift of its own, which chapters and all stages follow.
    av_dict_set(&options, "avoid_negative_ts", "disabled", 0);
    return options;
}

Container::Origin Container::GetOrigin() const
{
    // In Ogg the first packets of a sound that ends a page at a later time lie below zero.
    if (IsMov() || IsOgg())
        return Origin::Free;
    return IsMatroska() ? Origin::Presentation : Origin::Decoding;
}

bool Container::TellsDelay(AVCodecID codec) const
{
    return IsMatroska() && codec == AV_CODEC_ID_OPUS;
}

avTime Container::GetLead() const
{
    return family == Family::ProgramStream ? ProgramStream::GetLead() : 0;
}

bool Container::IsProgramStream() const
{
    return Is({"vob"});
}

bool Container::CountsPackets() const
{
    return family == Family::Avi;
}

bool Container::TakesBlocksForConstant(AVCodecID codec) const
{
    static const std::set<AVCodecID> varying = {AV_CODEC_ID_AAC, AV_CODEC_ID_MP2, AV_CODEC_ID_MP3, AV_CODEC_ID_AC3};
    return CountsPackets() && varying.count(codec) != 0;
}

bool Container::CountsSound() const
{
    return IsMov() || family == Family::Avi || Is({"wav", "w64", "aiff", "au"});
}

Proc::SettingsFilterBitStream::StreamFormat Container::ChooseFraming(AVCodecID codec) const
{
    using Framing = Proc::SettingsFilterBitStream;
    // a configuration record beside the packets, whose units stand after their lengths (ISO/IEC 14496-15)
    const bool ownsHeaders = IsMov() || IsMatroska() || family == Family::Asf || Is({"flv"});
    if (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC)
        return ownsHeaders ? Framing::STREAM_FORMAT_MP4 : Framing::STREAM_FORMAT_ANNEX_B;
    if (codec == AV_CODEC_ID_AAC && (ownsHeaders || Is({"nut"})))
        return Framing::STREAM_FORMAT_RAW_AAC;
    return Framing::STREAM_FORMAT_UNCHANGED;
}

bool Container::KnowsCodec(AVCodecID codec) const
{
    if (family == Family::TransportStream)
        return TRANSPORT_CODECS.count(codec) != 0 || (bluRay && BLU_RAY_CODECS.count(codec) != 0);
    if (family == Family::ProgramStream)
        return PROGRAM_CODECS.count(codec) != 0;
    if (family == Family::Avi)
        return AVI_CODECS.count(codec) != 0;
    if (family == Family::Asf)
        return ASF_CODECS.count(codec) != 0;
    if (Is({"wav", "w64"}) && NEVER_IN_WAVE.count(codec) != 0)
        return false;
    if (IsMatroska() && NEVER_IN_MATROSKA.count(codec) != 0)
        return false;
    // Where libavformat doesn't know, the trial of a header decides.
    return avformat_query_codec(format, codec, FF_COMPLIANCE_NORMAL) != 0 || Is({"matroska"});
}

Container::CoverForm Container::ChooseCoverForm(AVCodecID codec) const
{
    const bool usual = codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_PNG;
    if (Is({"mp4", "ipod", "f4v", "psp"}))
        return usual || codec == AV_CODEC_ID_BMP ? CoverForm::Picture : CoverForm::None;
    if (Is({"mp3", "flac"}))
        return usual ? CoverForm::Picture : CoverForm::None;
    return Is({"matroska"}) && !GetCoverType(codec).empty() ? CoverForm::Attachment : CoverForm::None;
}

std::string Container::GetCoverType(AVCodecID codec)
{
    static const std::map<AVCodecID, std::string> types = {{AV_CODEC_ID_MJPEG, "image/jpeg"},
                                                           {AV_CODEC_ID_PNG, "image/png"},
                                                           {AV_CODEC_ID_GIF, "image/gif"},
                                                           {AV_CODEC_ID_TIFF, "image/tiff"}};
    const auto known = types.find(codec);
    return known != types.end() ? known->second : "";
}

unsigned Container::ChooseTag(AVCodecID codec, unsigned sourceTag) const
{
    return format->codec_tag && av_codec_get_id(format->codec_tag, sourceTag) == codec ? sourceTag : 0;
}

AVRational Container::ChooseTimeBase(const TrackInfo& source) const
{
    const bool frameRate = source.type == MediaType::Video && source.frameRateNum > 0 && source.frameRateDen > 0;
    // These count frames, not time.
    if (frameRate && (family == Family::Avi || IsOgg()))
        return {source.frameRateDen, source.frameRateNum};
    if (source.timeBaseNum <= 0 || source.timeBaseDen <= 0 || source.timeBaseDen > FINEST)
        return {1, FINEST};
    return {source.timeBaseNum, source.timeBaseDen};
}

int Container::ChooseVideoTimescale(const TrackInfo& source) const
{
    if (!IsMov() || source.timeBaseNum != 1 || source.timeBaseDen > FINEST)
        return 0;
    if (source.timeBaseDen >= FINE_ENOUGH)
        return source.timeBaseDen;
    // Ticks that count frames will do as long as the first frame lies on one.
    const bool frames =
        source.frameRateDen > 0 && source.frameRateNum == source.timeBaseDen * int64_t{source.frameRateDen};
    const avTime first = source.start;
    // there and back again gives the same where a tick lies on the time
    const bool even = first != NoTime &&
                      first == av_rescale(av_rescale(first, source.timeBaseDen, FINEST), FINEST, source.timeBaseDen);
    return frames && even && source.timeBaseDen >= SLOWEST ? source.timeBaseDen : 0;
}

bool Container::TakesEqualTimes(MediaType type) const
{
    const bool sound = type == MediaType::Audio && (format->flags & AVFMT_TS_NONSTRICT) != 0;
    return sound || type == MediaType::Subtitle;
}

bool Container::SharesTimes() const
{
    return family == Family::TransportStream;
}

bool Container::IsByteStream() const
{
    return family == Family::TransportStream || family == Family::ProgramStream || Is({"h264"});
}

bool Container::TellsEnds() const
{
    return IsOgg();
}

bool Container::CountsPictures() const
{
    return IsOgg();
}

bool Container::CarriesEditLists() const
{
    return IsMov();
}

bool Container::CarriesChapters() const
{
    return IsMov() || IsMatroska() || IsOgg() || family == Family::Asf || Is({"mp3", "ffmetadata", "nut"});
}

bool Container::CarriesRotation() const
{
    return IsMov();
}

// By what libavformat's muxers write: keys that they do not know they drop without a word.
bool Container::CarriesTag(const std::string& key, TagOwner owner) const
{
    if (IsMatroska() || IsOgg() || Is({"nut"}))
        return true;
    const std::string name = Lower(key);
    // The name and the type of an attached file are the attachment's.
    if (owner == TagOwner::Cover)
        return name == "filename" || name == "mimetype" ||
               (Is({"mp3", "flac"}) && (name == "title" || name == "comment"));
    if (owner == TagOwner::Track)
    {
        const bool language = IsMov() || family == Family::TransportStream || family == Family::Asf;
        // The bookkeeping of QuickTime is no loss elsewhere.
        return (name == "language" && language) || name == "handler_name" || name == "vendor_id";
    }
    static const std::set<std::string> common = {"title", "artist",    "album", "comment", "date",
                                                 "genre", "copyright", "track", "encoder"};
    static const std::set<std::string> mov = {"album_artist", "composer",   "description", "synopsis", "lyrics",
                                              "show",         "episode_id", "network",     "grouping", "creation_time"};
    if (family == Family::TransportStream)
        return name == "service_name" || name == "service_provider" || name == "title";
    if (IsMov())
        return common.count(name) || mov.count(name);
    const bool some = family == Family::Avi || Is({"wav"});
    return family == Family::Asf || Is({"mp3", "flac"}) || (some && common.count(name));
}

std::string Container::NameLanguage(const std::string& code) const
{
    return Is({"mov"}) ? NameQuickTimeLanguage(code) : code;
}

bool Container::Is(std::initializer_list<const char*> names) const
{
    return std::any_of(names.begin(), names.end(), [&](const char* name) { return !std::strcmp(format->name, name); });
}

} // namespace Tessor::Host
