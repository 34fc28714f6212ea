#include "ffhost/codecs/Inventory.h"
#include "jobs/TrackSelection.h"
#include "jobs/reports/DocumentParts.h"

namespace Tessor::Jobs
{

namespace
{

Json ToRow(const Host::ContainerEntry& entry)
{
    return {{"name", entry.name},
            {"title", entry.title},
            {"extensions", entry.extensions},
            {"video_encoder", TextToJson(entry.video)},
            {"audio_encoder", TextToJson(entry.audio)}};
}

Json ToRow(const Host::EncoderEntry& entry)
{
    return {{"name", entry.name},
            {"title", entry.title},
            {"kind", KindName(entry.type)},
            {"codec", entry.codec},
            {"presets", entry.presets}};
}

Json ToRow(const Host::CodecEntry& entry)
{
    return {{"name", entry.name},
            {"title", entry.title},
            {"kind", KindName(entry.type)},
            {"decodable", entry.decodable},
            {"encoders", entry.encoders}};
}

template <class Entry>
Json MakeDocument(const char* name, const std::vector<Entry>& entries)
{
    Json json = BeginDocument();
    json[name] = Json::array();
    for (const Entry& entry : entries)
        json[name].push_back(ToRow(entry));
    return json;
}

} // namespace

Json ToJson(const std::vector<Host::ContainerEntry>& containers)
{
    return MakeDocument("containers", containers);
}

Json ToJson(const std::vector<Host::EncoderEntry>& encoders)
{
    return MakeDocument("encoders", encoders);
}

Json ToJson(const std::vector<Host::CodecEntry>& codecs)
{
    return MakeDocument("codecs", codecs);
}

} // namespace Tessor::Jobs
