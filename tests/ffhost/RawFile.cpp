#include "tests/ffhost/RawFile.h"

#include "Fnd/Exception.h"
#include "media/BlobFF.h"
#include "media/IFormatCodecAudio.h"
#include "media/IFormatCodecVideo.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <filesystem>
#include <stdlib.h>

namespace Tessor::Host::Tests
{

namespace
{

constexpr AVRational MICROSECONDS = {1, 1000000};

Tags ToTags(const AVDictionary* dictionary)
{
    Tags tags;
    for (const AVDictionaryEntry* e = nullptr; (e = av_dict_get(dictionary, "", e, AV_DICT_IGNORE_SUFFIX));)
        tags.emplace_back(e->key, e->value);
    return tags;
}

SP<Conf::IFormatCodec> ToFormat(const AVCodecParameters& parameters)
{
    SP<Conf::IFormatCodec> format;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
    {
        const SP<Conf::IFormatCodecVideo> video = Conf::IFormatCodecVideo::Create();
        video->InitByPixelAspect(static_cast<unsigned>(parameters.width), static_cast<unsigned>(parameters.height),
                                 static_cast<unsigned>(parameters.sample_aspect_ratio.num),
                                 static_cast<unsigned>(parameters.sample_aspect_ratio.den));
        video->SetPixelFormat(static_cast<PixFmt>(parameters.format));
        format = video;
    }
    else
        format = Conf::IFormatCodecAudio::Create();
    const bool hevc = parameters.codec_id == AV_CODEC_ID_HEVC;
    const std::string codec = hevc ? Conf::IFormatCodecVideo::CODEC_ID_H265 : avcodec_get_name(parameters.codec_id);
    format->GetProperties().SetChildT<std::string>(Conf::IFormatCodec::TAG_CODEC_ID, codec);
    if (parameters.extradata_size > 0)
        format->SetExtradata(
            Proc::BlobFF::Create(parameters.extradata, static_cast<size_t>(parameters.extradata_size)));
    return format;
}

TrackInfo Describe(const AVStream& stream)
{
    TrackInfo info;
    info.index = stream.index;
    const AVMediaType type = stream.codecpar->codec_type;
    info.type = type == AVMEDIA_TYPE_VIDEO      ? MediaType::Video
                : type == AVMEDIA_TYPE_AUDIO    ? MediaType::Audio
                : type == AVMEDIA_TYPE_SUBTITLE ? MediaType::Subtitle
                                                : MediaType::None;
    info.codecName = avcodec_get_name(stream.codecpar->codec_id);
    AVCodecParameters* copy = avcodec_parameters_alloc();
    avcodec_parameters_copy(copy, stream.codecpar);
    info.parameters = {copy, [](AVCodecParameters* p) { avcodec_parameters_free(&p); }};
    info.format = ToFormat(*copy);
    info.timeBaseNum = stream.time_base.num;
    info.timeBaseDen = stream.time_base.den;
    info.frameRateNum = stream.r_frame_rate.num;
    info.frameRateDen = stream.r_frame_rate.den ? stream.r_frame_rate.den : 1;
    info.disposition = stream.disposition;
    info.tags = ToTags(stream.metadata);
    size_t size = 0;
    if (const uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size))
        info.displayMatrix.assign(reinterpret_cast<const int32_t*>(matrix),
                                  reinterpret_cast<const int32_t*>(matrix) + 9);
    return info;
}

avTime ToTime(int64_t ticks, AVRational timeBase)
{
    return ticks == AV_NOPTS_VALUE ? NoTime : av_rescale_q(ticks, timeBase, MICROSECONDS);
}

} // namespace

RawFile ReadRawFile(const std::string& path)
{
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0)
        Throw<Core::IOException>(TESSOR_HERE, path + ": can't be read");
    const std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> closer(context, [](AVFormatContext* c)
                                                                              { avformat_close_input(&c); });
    avformat_find_stream_info(context, nullptr);

    RawFile file;
    file.duration = context->duration;
    file.chapters = context->nb_chapters;
    file.tags = ToTags(context->metadata);
    for (unsigned i = 0; i < context->nb_streams; ++i)
        file.tracks.push_back({Describe(*context->streams[i]), {}});
    for (AVPacket* packet = av_packet_alloc(); packet; packet = av_packet_alloc())
    {
        if (av_read_frame(context, packet) < 0)
        {
            av_packet_free(&packet);
            break;
        }
        const int index = packet->stream_index;
        const AVRational timeBase = context->streams[index]->time_base;
        RawFile::Track& track = file.tracks.at(static_cast<size_t>(index));
        const SP<Proc::IDataPacket> item = Proc::DataPacketFF::Create(
            packet, track.info.type, ToTime(packet->pts, timeBase), ToTime(packet->dts, timeBase),
            av_rescale_q(packet->duration, timeBase, MICROSECONDS));
        track.packets.push_back(item);
        file.order.emplace_back(index, item);
    }
    return file;
}

std::string FindClip(const std::string& name)
{
    for (const char* folder : {"/../shared/media/", "/../../shared/media/"})
    {
        const std::string path = TESSOR_SOURCE_DIR + (folder + name);
        if (std::filesystem::exists(path))
            return path;
    }
    return "";
}

ScratchFolder::ScratchFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "tessor-test-XXXXXX").string();
    if (!mkdtemp(name.data()))
        Throw<Core::IOException>(TESSOR_HERE, name + ": can't be created");
    path = name;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path, ignored);
}

std::vector<std::string> ScratchFolder::List() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path))
        names.push_back(entry.path().filename().string());
    return names;
}

} // namespace Tessor::Host::Tests
