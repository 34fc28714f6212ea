#include "ffhost/codecs/EncoderTable.h"

#include <algorithm>

namespace Tessor::Host
{

const EncoderRow& FindEncoder(const std::string& name)
{
    // those of x264, which x265 took over
    static const std::vector<std::string> presets = {"ultrafast", "superfast", "veryfast", "faster",   "fast",
                                                     "medium",    "slow",      "slower",   "veryslow", "placebo"};
    // Quantisers go from 1, the finest, to 31, but Theora's from 0 to 10, the finest. x265 writes to standard error
    // itself. By their own defaults libvpx and libaom take many times as
    // long. Sound has the rates that music is usually given; the highest ones are those of the formats.
    static const std::vector<EncoderRow> rows = {
        {.name = "libx264", .worstCrf = 51, .fields = true, .wholeChroma = true, .presets = presets},
        {.name = "libx265",
         .worstCrf = 51,
         .wholeChroma = true,
         .options = {{"x265-params", "log-level=error"}},
         .presets = presets},
        {.name = "mpeg1video", .quantiser = 3, .options = {{"bf", "2"}}},
        {.name = "mpeg2video", .quantiser = 3, .fields = true, .options = {{"bf", "2"}}},
        {.name = "mpeg4", .quantiser = 3},
        {.name = "msmpeg4", .quantiser = 3},
        {.name = "wmv2", .quantiser = 3},
        {.name = "h263", .quantiser = 3},
        {.name = "flv", .quantiser = 3},
        {.name = "mjpeg", .quantiser = 2},
        {.name = "libtheora", .quantiser = 8},
        {.name = "libvpx", .needsBitRate = true, .options = {{"cpu-used", "2"}}},
        {.name = "libvpx-vp9", .crf = 31, .options = {{"row-mt", "1"}, {"cpu-used", "2"}}},
        {.name = "libaom-av1", .crf = 30, .options = {{"row-mt", "1"}, {"cpu-used", "6"}}},
        {.name = "aac", .channelBitRate = 64000},
        {.name = "libmp3lame", .channelBitRate = 96000, .mostBitRate = 320000},
        {.name = "mp2", .channelBitRate = 96000, .mostBitRate = 384000, .mostLowBitRate = 160000},
        {.name = "ac3", .channelBitRate = 96000, .mostBitRate = 640000},
        {.name = "eac3", .channelBitRate = 96000, .mostBitRate = 640000},
        {.name = "libopus", .channelBitRate = 64000},
        {.name = "libvorbis", .channelBitRate = 64000, .quality = 3},
        {.name = "wmav1", .channelBitRate = 64000, .highestRate = 48000},
        {.name = "wmav2", .channelBitRate = 64000, .highestRate = 48000},
    };
    static const EncoderRow none{.name = ""};
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const EncoderRow& row) { return name == row.name; });
    return found != rows.end() ? *found : none;
}

const ContainerRow* FindContainer(const std::string& muxer)
{
    // libavformat's own choices depend on what it was built with, and few players have some of them.
    static const std::vector<ContainerRow> rows = {
        {"mp4", "libx264", "aac"},
        {"mov", "libx264", "aac"},
        {"matroska", "libx264", "aac"},
        {"mpegts", "libx264", "aac"},
        {"3gp", "libx264", "aac"},
        {"3g2", "libx264", "aac"},
        {"flv", "libx264", "aac"},
        {"webm", "libvpx-vp9", "libopus"},
        {"avi", "mpeg4", "libmp3lame"},
        {"vob", "mpeg2video", "ac3"},
        {"mpeg", "mpeg2video", "mp2"},
        {"ogv", "libtheora", "libvorbis"},
        {"ogg", nullptr, "libvorbis"},
        {"oga", nullptr, "libvorbis"},
        {"asf", "wmv2", "wmav2"},
        {"ipod", nullptr, "aac"},
        {"adts", nullptr, "aac"},
        {"mp3", nullptr, "libmp3lame"},
        {"mp2", nullptr, "mp2"},
        {"ac3", nullptr, "ac3"},
        {"opus", nullptr, "libopus"},
        {"flac", nullptr, "flac"},
        {"wav", nullptr, "pcm_s16le"},
        {"aiff", nullptr, "pcm_s16be"},
        {"h264", "libx264", nullptr},
        {"hevc", "libx265", nullptr},
        {"mpeg1video", "mpeg1video", nullptr},
        {"mpeg2video", "mpeg2video", nullptr},
    };
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const ContainerRow& row) { return muxer == row.muxer; });
    return found != rows.end() ? &*found : nullptr;
}

} // namespace Tessor::Host
