#pragma once

#include "ffhost/io/reading/DemuxerSettings.h"
#include "ffhost/io/reading/InputBytes.h"

#include <memory>
#include <string>

struct AVFormatContext;

namespace Tessor::Host
{

/// The only way from libavformat to files. Playlists, lists of parts and patterns of names would have it open whatever
/// they name: it gets the input itself, and, where that is allowed, what lies in the input's folder and below.
class InputGate
{
public:
    /// Throws as OpenInputHandle does.
    InputGate(const std::string& path, const DemuxerSettings& settings, const AVIOInterruptCB& interrupt);

    /// Before it is opened; outlives the context.
    void Install(AVFormatContext& context);
    /// The name under which libavformat knows the input.
    const std::string& GetUrl() const { return url; }

    /// errno of the first read that failed; 0 while all is well.
    int GetError() const { return error; }
    /// The first name that was asked for in vain, as the input gives it; empty where there is none.
    const std::string& GetRefused() const { return refused; }
    /// Why the input's format is not read at all; empty where it is.
    std::string DescribeFormatObstacle() const;

private:
    static int Open(AVFormatContext* context, AVIOContext** opened, const char* url, int flags, AVDictionary** options);
    static int Close(AVFormatContext* context, AVIOContext* opened);

    std::string FindPlace(const std::string& name) const;

    const std::string path;
    const std::string url;
    const std::string formats; // libavformat's names of those that are read
    const bool allowReferences, restricted;
    const AVIOInterruptCB interrupt;
    int error = 0;       // as GetError tells
    std::string refused; // as GetRefused tells
    InputBytes bytes;
};

} // namespace Tessor::Host
