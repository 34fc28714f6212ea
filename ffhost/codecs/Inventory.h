#pragma once

#include "Fnd/Export.h"
#include "media/formats/MediaType.h"

#include <string>
#include <vector>

struct AVCodec;

/// What files can be written in and encoded with: it depends on how FFmpeg's libraries were built.
namespace Tessor::Host
{

struct ContainerEntry
{
    std::string name, title; ///< libavformat's
    std::vector<std::string> extensions;
    std::string video, audio; ///< the usual encoders; empty where it has none of a kind
    bool streamed = false;    ///< can be written to standard output
    bool usual = false;
};

struct EncoderEntry
{
    std::string name, title; ///< libavcodec's
    std::string codec;
    MediaType type = MediaType::None;
    std::vector<std::string> presets; ///< where they are known
};

struct CodecEntry
{
    std::string name, title; ///< libavcodec's
    MediaType type = MediaType::None;
    bool decodable = false;
    std::vector<std::string> encoders;
};

/// Containers of files, in the order of their names.
TESSOR_API std::vector<ContainerEntry> ListContainers();
/// Of pictures and sound, in the order of their names: those that run on any machine and are not experimental.
TESSOR_API std::vector<EncoderEntry> ListEncoders();
/// Of pictures, sound and subtitles that can be decoded or encoded, in the order of their names.
TESSOR_API std::vector<CodecEntry> ListCodecs();

/// What the names of files in the most usual containers end with.
TESSOR_API std::vector<std::string> ListUsualExtensions();

/// Runs on any machine, and is not experimental.
bool IsUsable(const AVCodec& codec);

} // namespace Tessor::Host
