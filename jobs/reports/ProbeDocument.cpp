#include "jobs/detect/ProbeReport.h"
#include "jobs/reports/DocumentParts.h"
#include "jobs/reports/PropertyJson.h"

#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

Json TagsToJson(const Host::Tags& tags)
{
    Json json = Json::object();
    for (const auto& [name, value] : tags)
        json[name] = value;
    return json;
}

Json GroupsToJson(const ProbeCutting& cutting)
{
    Json list = Json::array();
    for (const Group& group : cutting.groups)
        list.push_back({{"start", Seconds(group.start)},
                        {"end", Seconds(group.end)},
                        {"pictures", group.pictures.size()},
                        {"bytes", group.bytes},
                        {"open", group.IsOpen()},
                        {"reordered", group.reordered}});
    return {{"count", cutting.groups.size()},
            {"pictures", cutting.CountPictures()},
            {"longest", cutting.GetLongest()},
            {"open", cutting.CountOpen()},
            {"list", list}};
}

void AddCutting(Json& json, const ProbeCutting& cutting)
{
    if (!cutting.refusal.empty())
        json["cut_refused_because"] = cutting.refusal;
    else
    {
        json["cut_anywhere"] = cutting.anywhere;
        if (!cutting.anywhere)
            json["cut_at_key_frames_because"] = cutting.obstacle;
    }
    json["groups"] = GroupsToJson(cutting);
}

/// What is told, under its name.
Json ToldToJson(std::initializer_list<std::pair<const char*, std::string>> texts)
{
    Json json = Json::object();
    for (const auto& [name, text] : texts)
        if (!text.empty())
            json[name] = text;
    return json;
}

Json MasteringToJson(const MasteringDisplay& display)
{
    Json json = Json::object();
    if (display.colours)
        json.update({{"red", (*display.colours)[0]},
                     {"green", (*display.colours)[1]},
                     {"blue", (*display.colours)[2]},
                     {"white", (*display.colours)[3]}});
    if (display.luminance)
        json.update({{"least_luminance", (*display.luminance)[0]}, {"most_luminance", (*display.luminance)[1]}});
    return json;
}

void AddPictures(Json& json, const PictureDescription& pictures)
{
    json.update(ToldToJson({{"pixel_format", pictures.pixelFormat}, {"field_order", pictures.fieldOrder}}));
    json["rotation"] = pictures.rotation;
    json["colour"] = ToldToJson({{"primaries", pictures.primaries},
                                 {"transfer", pictures.transfer},
                                 {"matrix", pictures.matrix},
                                 {"range", pictures.range}});
    if (pictures.mastering)
        json["mastering_display"] = MasteringToJson(*pictures.mastering);
    if (pictures.light)
        json["content_light"] = {{"pixel", pictures.light->pixel}, {"picture", pictures.light->picture}};
    if (pictures.dolbyVision)
        json["dolby_vision"] = {{"profile", pictures.dolbyVision->profile}, {"level", pictures.dolbyVision->level}};
}

Json TrackToJson(const ProbeTrack& track)
{
    Json json = {
        {"index", track.index}, {"kind", track.kind}, {"codec", track.codec}, {"tags", TagsToJson(track.tags)}};
    if (track.frame)
        json.update({{"width", track.frame->width},
                     {"height", track.frame->height},
                     {"sample_aspect", fmt::format("{}:{}", track.frame->aspectNum, track.frame->aspectDen)}});
    if (track.frameRate)
        json["frame_rate"] = fmt::format("{}/{}", track.frameRate->numerator(), track.frameRate->denominator());
    if (track.pictures)
        AddPictures(json, *track.pictures);
    if (track.samples)
        json.update({{"sample_rate", track.samples->GetSampleRate()}, {"channels", track.samples->GetChannelCount()}});
    if (track.bitRate > 0)
        json["bit_rate"] = track.bitRate;
    if (!track.GetLanguage().empty())
        json["language"] = track.GetLanguage();
    if (!track.headerFault.empty())
        json["header_unusable"] = track.headerFault;
    if (track.header.GetType() != Core::Property::TypeEmpty)
        json["header"] = PropertyToJson(track.header);
    if (track.cutting)
        AddCutting(json, *track.cutting);
    if (!track.fault.empty())
        json["error"] = track.fault;
    if (track.lossless)
        json["lossless"] = LosslessToJson(*track.lossless);
    return json;
}

Json DamageToJson(const Host::Damage& damage)
{
    Json json = {{"after", Seconds(damage.after)}, {"packets", damage.packets}};
    if (damage.promised != NoTime)
        json["promised_duration"] = Seconds(damage.promised);
    return json;
}

} // namespace

Json ToJson(const ProbeReport& report)
{
    Json json = BeginDocument();
    json.update({{"input", report.input},
                 {"container", report.container},
                 {"duration", Seconds(report.duration)},
                 {"start_time", Seconds(report.origin)},
                 {"bit_rate", report.bitRate},
                 {"tags", TagsToJson(report.tags)},
                 {"chapters", Json::array()},
                 {"tracks", Json::array()}});
    for (const Host::ChapterInfo& chapter : report.chapters)
        json["chapters"].push_back(
            {{"start", Seconds(chapter.start)}, {"end", Seconds(chapter.end)}, {"tags", TagsToJson(chapter.tags)}});
    for (const ProbeTrack& track : report.tracks)
        json["tracks"].push_back(TrackToJson(track));
    if (!report.damage.IsNone())
        json["damage"] = DamageToJson(report.damage);
    json["warnings"] = report.warnings;
    return json;
}

} // namespace Tessor::Jobs
