#include "ffhost/io/reading/InputGate.h"

#include "Fnd/Exception.h"
#include "ffhost/io/reading/InputHandle.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace Tessor::Host
{

namespace
{

namespace fs = std::filesystem;

// Keeps names with a colon from being taken for addresses.
constexpr std::string_view FILE_PREFIX = "file:";

// No protocol has that name: what a demuxer opens past us fails.
constexpr const char* NO_PROTOCOL = "none";

// They open files past the context that they are given, or run scripts, so that nobody can tell which.
constexpr std::string_view UNCONFINED[] = {"concat", "dash", "vobsub", "imf", "sdp", "avisynth", "vapoursynth"};

bool IsUnconfined(std::string_view format)
{
    return std::find(std::begin(UNCONFINED), std::end(UNCONFINED), format) != std::end(UNCONFINED);
}

std::string ListConfined()
{
    std::string list;
    void* place = nullptr;
    while (const AVInputFormat* format = av_demuxer_iterate(&place))
        if (!IsUnconfined(format->name))
            list += (list.empty() ? "" : ",") + std::string(format->name);
    return list;
}

/// Without references a name is no pattern, whatever is in it.
std::string MakeUrl(const std::string& path, bool allowReferences)
{
    std::string name = path;
    for (char& c : name)
        c = !allowReferences && std::string_view("%*?{").find(c) != std::string_view::npos ? '_' : c;
    return std::string(FILE_PREFIX) + name;
}

} // namespace

InputGate::InputGate(const std::string& path, const DemuxerSettings& settings, const AVIOInterruptCB& interrupt)
    : path(path), url(MakeUrl(path, settings.allowReferences)),
      formats(settings.formats.empty() ? ListConfined() : settings.formats), allowReferences(settings.allowReferences),
      restricted(!settings.formats.empty()), interrupt(interrupt),
      bytes(OpenInputHandle(path, settings.checkpoint), interrupt, error)
{
}

void InputGate::Install(AVFormatContext& context)
{
    context.pb = bytes.GetContext();
    context.opaque = this;
    context.io_open = Open;
    context.io_close2 = Close;
    context.interrupt_callback = interrupt;
    context.protocol_whitelist = av_strdup(NO_PROTOCOL);
    context.format_whitelist = av_strdup(formats.c_str());
    if (!context.protocol_whitelist || !context.format_whitelist)
        throw std::bad_alloc();
}

int InputGate::Open(AVFormatContext* context, AVIOContext** opened, const char* url, int flags, AVDictionary**)
{
    InputGate& gate = *static_cast<InputGate*>(context->opaque);
    const std::string place = flags & AVIO_FLAG_WRITE ? "" : gate.FindPlace(url);
    if (place.empty())
    {
        gate.refused = gate.refused.empty() ? url : gate.refused;
        return AVERROR(EACCES);
    }
    try
    {
        *opened = (new InputBytes(OpenInputHandle(place, nullptr), gate.interrupt, gate.error))->GetContext();
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return AVERROR(ENOMEM);
    }
    catch (const Exception&)
    {
        return AVERROR(ENOENT);
    }
}

int InputGate::Close(AVFormatContext*, AVIOContext* opened)
{
    delete static_cast<InputBytes*>(opened->opaque);
    return 0;
}

/// Where a name leads to, once links and steps upwards are resolved; empty where nobody may go.
std::string InputGate::FindPlace(const std::string& name) const
{
    if (name == url)
        return path;
    const bool prefixed = name.compare(0, FILE_PREFIX.size(), FILE_PREFIX) == 0;
    const std::string file = prefixed ? name.substr(FILE_PREFIX.size()) : name;
    std::error_code fault;
    const fs::path folder = fs::canonical(fs::absolute(path).parent_path(), fault);
    const fs::path place = fs::weakly_canonical(file, fault);
    const bool below = std::mismatch(folder.begin(), folder.end(), place.begin(), place.end()).first == folder.end();
    return allowReferences && !fault && below ? place.string() : "";
}

// Looked for only where opening has failed.
std::string InputGate::DescribeFormatObstacle() const
{
    int ignored = 0;
    InputBytes again(OpenInputHandle(path, nullptr), interrupt, ignored);
    const AVInputFormat* format = nullptr;
    if (av_probe_input_buffer2(again.GetContext(), &format, url.c_str(), nullptr, 0, 0) < 0)
        return "";
    if (restricted && av_match_list(format->name, formats.c_str(), ',') <= 0)
        return "is of the format " + std::string(format->name) + ", which is not among those allowed";
    return IsUnconfined(format->name) ? "lists other files (" + std::string(format->name) + "), which are not opened"
                                      : "";
}

} // namespace Tessor::Host
