#include "ffhost/io/reading/MediaInfoBuilder.h"

#include "ffhost/FormatCompat.h"
#include "ffhost/FormatTags.h"
#include "ffhost/MediaTypes.h"
#include "ffhost/io/reading/FormatBuilder.h"
#include "media/items/BlobFF.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/intreadwrite.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

// place of the pre-skip in the header of Opus, and its least size (RFC 7845, 5.1)
constexpr int OPUS_PRE_SKIP = 10;
constexpr int OPUS_HEAD = 19;

Tags CopyTags(const AVDictionary* dictionary)
{
    Tags tags;
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)))
        tags.emplace_back(entry->key, entry->value);
    return tags;
}

// Beyond, it is a clock's rate (90 kHz, milliseconds) or that of a slide show, where libavformat merely guesses.
bool IsSane(AVRational rate)
{
    return rate.num > 0 && rate.den > 0 && av_q2d(rate) <= 300 && av_q2d(rate) >= 0.1;
}

// The base rate, unless it is that of the fields or merely the container's clock. libavformat's base rate is the least
// that all times it has seen fit in: exact where pictures come evenly, where the mean is blurred by its rounding.
AVRational FrameRate(const AVStream& stream)
{
    const AVRational base = stream.r_frame_rate, mean = stream.avg_frame_rate;
    // a high rate is meant where both tell it: a high-speed recording
    const bool clock = av_cmp_q(base, av_inv_q(stream.time_base)) == 0;
    if (base.num > 0 && base.den > 0 && av_cmp_q(base, mean) == 0 && !clock && av_q2d(base) <= 1000)
        return base;
    if (!IsSane(base))
        return IsSane(mean) ? mean : AVRational{0, 1};
    // twice the mean, less what a mean of few pictures is wrong by
    const bool fields = IsSane(mean) && av_q2d(base) > 1.9 * av_q2d(mean);
    return fields ? mean : base;
}

std::vector<int32_t> DisplayMatrix(const AVStream& stream)
{
    const AVPacketSideData* entry = FFmpeg::FindSideData(stream, AV_PKT_DATA_DISPLAYMATRIX);
    std::vector<int32_t> matrix;
    if (entry && entry->size >= 9 * sizeof(int32_t))
    {
        matrix.resize(9);
        std::copy_n(entry->data, 9 * sizeof(int32_t), reinterpret_cast<uint8_t*>(matrix.data()));
    }
    return matrix;
}

SideData CopySideData(const AVStream& stream)
{
    SideData sideData;
    for (const AVPacketSideData& entry : FFmpeg::ListSideData(stream))
        // that one has a field of its own (DisplayMatrix)
        if (entry.type != AV_PKT_DATA_DISPLAYMATRIX && entry.data)
            sideData.emplace_back(entry.type, std::vector<uint8_t>(entry.data, entry.data + entry.size));
    return sideData;
}

std::shared_ptr<const AVCodecParameters> CopyParameters(const AVCodecParameters& parameters)
{
    std::shared_ptr<AVCodecParameters> copy(avcodec_parameters_alloc(),
                                            [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    if (!copy || avcodec_parameters_copy(copy.get(), &parameters) < 0)
        throw std::bad_alloc();
    // libavformat's reader of Matroska counts it in samples of the encoder's input, its writers in those of the codec
    if (copy->codec_id == AV_CODEC_ID_OPUS && copy->extradata_size >= OPUS_HEAD)
        copy->initial_padding = AV_RL16(copy->extradata + OPUS_PRE_SKIP);
    return copy;
}

TrackInfo BuildTrack(const AVStream& stream, avTime origin, const std::string& headerFault)
{
    TrackInfo track;
    track.headerFault = headerFault;
    track.index = stream.index;
    track.type = ToMediaType(stream.codecpar->codec_type);
    track.attachedPicture = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    if (track.attachedPicture && stream.attached_pic.size > 0)
        track.picture = Proc::BlobFF::Create(stream.attached_pic.data, static_cast<size_t>(stream.attached_pic.size));
    track.attachment = stream.codecpar->codec_type == AVMEDIA_TYPE_ATTACHMENT;
    track.codecName = avcodec_get_name(stream.codecpar->codec_id);
    track.parameters = CopyParameters(*stream.codecpar);
    track.timeBaseNum = stream.time_base.num;
    track.timeBaseDen = stream.time_base.den;
    if (track.type == MediaType::Video)
    {
        const AVRational rate = FrameRate(stream);
        track.frameRateNum = rate.num;
        track.frameRateDen = rate.den;
    }
    if (stream.start_time != AV_NOPTS_VALUE)
        track.start = SubTime(av_rescale_q(stream.start_time, stream.time_base, AVRational{1, AV_TIME_BASE}), origin);
    track.disposition = stream.disposition;
    track.displayMatrix = DisplayMatrix(stream);
    track.sideData = CopySideData(stream);
    track.tags = CopyTags(stream.metadata);
    track.format = BuildFormat(stream, track);
    return track;
}

} // namespace

MediaInfo BuildMediaInfo(const SourceFile& file, const std::string& path)
{
    const AVFormatContext& context = file.Context();
    MediaInfo info;
    info.path = path;
    info.container = context.iformat->name;
    info.origin = context.start_time != AV_NOPTS_VALUE ? context.start_time : 0;
    info.duration = context.duration > 0 ? context.duration : NoTime;
    info.bitRate = std::max<int64_t>(0, context.bit_rate);
    info.tags = CopyTags(context.metadata);
    for (unsigned i = 0; i < context.nb_chapters; ++i)
    {
        const AVChapter& chapter = *context.chapters[i];
        const auto time = [&](int64_t ticks) {
            return SubTime(av_rescale_q(ticks, chapter.time_base, AVRational{1, AV_TIME_BASE}), info.origin);
        };
        info.chapters.push_back({time(chapter.start), time(chapter.end), CopyTags(chapter.metadata)});
    }
    for (int i = 0; i < file.StreamCount(); ++i)
        info.tracks.push_back(BuildTrack(file.Stream(i), info.origin, file.GetHeaderFault(i)));
    return info;
}

void CompleteBitRates(MediaInfo& info, long long fileSize)
{
    if (info.duration <= 0 || fileSize <= 0)
        return;
    // in bits a second; in floating point, as files beyond a terabyte leave 64 bits
    const long long whole =
        static_cast<long long>(8e6 * static_cast<double>(fileSize) / static_cast<double>(info.duration));
    info.bitRate = info.bitRate > 0 ? info.bitRate : whole;
    long long left = whole;
    std::vector<TrackInfo*> unknown;
    for (TrackInfo& track : info.tracks)
    {
        left -= track.parameters->bit_rate;
        if (track.type == MediaType::Video && !track.attachedPicture && track.parameters->bit_rate <= 0)
            unknown.push_back(&track);
    }
    // Rates of sound that are only claimed may leave nothing: pictures have at least a quarter.
    for (TrackInfo* track : unknown)
        track->format->GetProperties().SetChildT<long long>(
            Conf::IFormatCodec::TAG_BITRATE, std::max(left, whole / 4) / static_cast<long long>(unknown.size()));
}

} // namespace Tessor::Host
