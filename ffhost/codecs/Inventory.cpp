#include "ffhost/codecs/Inventory.h"

#include "ffhost/MediaTypes.h"
#include "ffhost/codecs/EncoderTable.h"
#include "ffhost/io/Container.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <map>

namespace Tessor::Host
{

namespace
{

std::string TextOf(const char* text)
{
    return text ? text : "";
}

std::string NameOfEncoder(AVCodecID id)
{
    const AVCodec* codec = id != AV_CODEC_ID_NONE ? avcodec_find_encoder(id) : nullptr;
    return codec ? codec->name : "";
}

ContainerEntry MakeEntry(const AVOutputFormat& format)
{
    const ContainerRow* row = FindContainer(format.name);
    return {.name = format.name,
            .title = TextOf(format.long_name),
            .extensions = {},
            .video = row ? TextOf(row->video) : NameOfEncoder(format.video_codec),
            .audio = row ? TextOf(row->audio) : NameOfEncoder(format.audio_codec),
            .streamed = Container::Choose("", format.name).CanBeStreamed(),
            .usual = row != nullptr};
}

template <class Visitor>
void ForEachEncoder(Visitor visit)
{
    void* at = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&at))
        if (IsUsable(*codec))
            visit(*codec);
}

template <class Entry>
void SortByName(std::vector<Entry>& entries)
{
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
}

} // namespace

bool IsUsable(const AVCodec& codec)
{
    return av_codec_is_encoder(&codec) &&
           !(codec.capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_HYBRID | AV_CODEC_CAP_EXPERIMENTAL));
}

std::vector<ContainerEntry> ListContainers()
{
    std::map<std::string, ContainerEntry> byName;
    for (const auto& [extension, format] : Container::ListExtensions())
        byName.try_emplace(format->name, MakeEntry(*format)).first->second.extensions.push_back(extension);
    std::vector<ContainerEntry> list;
    list.reserve(byName.size());
    for (auto& [name, entry] : byName)
        list.push_back(std::move(entry));
    return list;
}

std::vector<EncoderEntry> ListEncoders()
{
    std::vector<EncoderEntry> list;
    ForEachEncoder(
        [&](const AVCodec& codec)
        {
            if (codec.type == AVMEDIA_TYPE_VIDEO || codec.type == AVMEDIA_TYPE_AUDIO)
                list.push_back({codec.name, TextOf(codec.long_name), avcodec_get_name(codec.id),
                                ToMediaType(codec.type), FindEncoder(codec.name).presets});
        });
    SortByName(list);
    return list;
}

std::vector<CodecEntry> ListCodecs()
{
    std::map<AVCodecID, std::vector<std::string>> encoders;
    ForEachEncoder([&](const AVCodec& codec) { encoders[codec.id].emplace_back(codec.name); });
    std::vector<CodecEntry> list;
    const AVCodecDescriptor* codec = nullptr;
    while ((codec = avcodec_descriptor_next(codec)))
    {
        const bool decodable = avcodec_find_decoder(codec->id) != nullptr;
        const MediaType type = ToMediaType(codec->type);
        if (type != MediaType::None && (decodable || encoders.contains(codec->id)))
            list.push_back({codec->name, TextOf(codec->long_name), type, decodable, encoders[codec->id]});
    }
    SortByName(list);
    return list;
}

std::vector<std::string> ListUsualExtensions()
{
    std::vector<std::string> list;
    for (const auto& [extension, format] : Container::ListExtensions())
        if (FindContainer(format->name))
            list.push_back(extension);
    return list;
}

} // namespace Tessor::Host
