#pragma once

#include "Fnd/Time.h"
#include "media/formats/IFormatCodec.h"
#include "media/formats/MediaType.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct AVCodecParameters;

namespace Tessor::Host
{

using Tags = std::vector<std::pair<std::string, std::string>>;

/// The tag by which Matroska says that packets carry hidden pictures of the transparency.
inline const std::string TRANSPARENCY_TAG = "alpha_mode";

/// AV_DISPOSITION_DEFAULT: players choose the track.
constexpr int DEFAULT_DISPOSITION = 1;

/// AVPacketSideDataType and bytes: mastering display, content light levels, Dolby Vision, loudness, ...
using SideData = std::vector<std::pair<int, std::vector<uint8_t>>>;

/// A track of a file as its container describes it.
struct TrackInfo
{
    int index = 0; ///< in the file
    MediaType type = MediaType::None;
    bool attachedPicture = false;  ///< a cover, no stream of pictures
    SP<const Proc::IBlob> picture; ///< the bytes of the cover; null for all else
    bool attachment = false;       ///< a font or another file inside of the file; its bytes are the extradata
    std::string codecName;         ///< FFmpeg's name of the codec
    SP<Conf::IFormatCodec> format; ///< our description, with extradata; null for tracks of no media type
    /// Why the header that the container has of H.264 or HEVC is unusable, empty where it isn't: `format` has the one
    /// that packets brought instead, or none
    std::string headerFault;
    std::shared_ptr<const AVCodecParameters> parameters;
    int timeBaseNum = 1, timeBaseDen = 1000000; ///< seconds per tick of the container
    int frameRateNum = 0, frameRateDen = 1;     ///< 0 when unknown
    avTime start = NoTime;                      ///< its first item, counted from the file's origin; NoTime when unknown
    avTime end = NoTime;                        ///< of what is shown or heard, likewise
    int disposition = 0;                        ///< AV_DISPOSITION_*
    std::vector<int32_t> displayMatrix;         ///< nine values, or empty
    SideData sideData;                          ///< what else the container says of the whole track
    Tags tags;                                  ///< language, title, ...

    /// Pictures or sound: there are packets all the time, so that reading can go by them.
    bool IsDense() const { return (type == MediaType::Video || type == MediaType::Audio) && !attachedPicture; }
};

/// What a file holds beside its tracks: its beginning, as far as that is searched, doesn't tell of it.
struct LateStream
{
    int id = 0; ///< the container's own number
    std::string codecName;
    avTime start = NoTime; ///< where reading met it, counted from the file's origin
};

struct ChapterInfo
{
    avTime start = 0, end = 0; ///< counted from the file's origin
    Tags tags;
};

/// A file as its container describes it.
struct MediaInfo
{
    std::string path;      ///< as messages name it
    std::string container; ///< FFmpeg's name of the demuxer
    avTime duration = 0;   ///< of the file, never NoTime
    avTime origin = 0;     ///< the file's start time, which was subtracted from all times
    long long bitRate = 0; ///< bits per second, 0 when unknown
    Tags tags;
    std::vector<ChapterInfo> chapters;
    std::vector<TrackInfo> tracks;
};

} // namespace Tessor::Host
