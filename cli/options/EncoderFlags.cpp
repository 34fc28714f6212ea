#include "cli/options/EncoderFlags.h"

#include "cli/UserError.h"
#include "ffhost/codecs/Inventory.h"

#include <charconv>

namespace Tessor::Cli
{

namespace
{

/// The highest of all encoders of pictures (VP9 and AV1; H.264 ends at 51). Each refuses what is beyond its own.
constexpr int worst_crf = 63;

constexpr double highest_bit_rate = 1e9;

std::vector<std::string> ListEncoders(MediaType type)
{
    std::vector<std::string> names;
    for (const Host::EncoderEntry& encoder : Host::ListEncoders())
        if (encoder.type == type)
            names.push_back(encoder.name);
    return names;
}

/// -1 for an empty text.
int ReadQuality(const std::string& text)
{
    if (text.empty())
        return -1;
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || value < 0 || value > worst_crf)
        throw UserError(ExitCode::Usage, "\"" + text + "\" is no constant quality from 0 to 63");
    return value;
}

} // namespace

long long ReadBitRate(const std::string& text)
{
    if (text.empty())
        return 0;
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    const std::string unit(rest, end);
    const double factor = unit.empty() ? 1 : unit == "k" || unit == "K" ? 1e3 : unit == "M" ? 1e6 : 0;
    if (error != std::errc() || factor == 0 || !(value * factor >= 1 && value * factor <= highest_bit_rate))
        throw UserError(ExitCode::Usage, "\"" + text + "\" is no bit rate such as 800k or 2.5M");
    return static_cast<long long>(value * factor);
}

void VideoEncoderFlags::AddOptions(OptionTable& table)
{
    table.push_back({"--video-encoder",
                     "NAME",
                     "FFmpeg's name of the encoder of pictures; the container's usual one",
                     &name,
                     {},
                     false,
                     false,
                     [] { return ListEncoders(MediaType::Video); }});
    table.push_back({"--crf", "N", "constant quality on the encoder's scale, lower is better", &crf});
    table.push_back({"--preset", "NAME", "speed against size, in the encoder's words", &preset});
    table.push_back({"--video-bitrate", "RATE", "bits per second of the pictures, such as 2.5M", &bitRate});
}

Host::EncoderOptions VideoEncoderFlags::Read() const
{
    Host::EncoderOptions options;
    options.name = name;
    options.preset = preset;
    options.bitRate = ReadBitRate(bitRate);
    options.crf = ReadQuality(crf);
    if (options.crf >= 0 && options.bitRate > 0)
        throw UserError(ExitCode::Usage, "--crf and --video-bitrate exclude each other");
    return options;
}

void AudioEncoderFlags::AddOptions(OptionTable& table)
{
    table.push_back({"--audio-encoder",
                     "NAME",
                     "FFmpeg's name of the encoder of sound; the container's usual one",
                     &name,
                     {},
                     false,
                     false,
                     [] { return ListEncoders(MediaType::Audio); }});
    table.push_back({"--audio-bitrate", "RATE", "bits per second of the sound, such as 192k", &bitRate});
}

Host::EncoderOptions AudioEncoderFlags::Read() const
{
    Host::EncoderOptions options;
    options.name = name;
    options.bitRate = ReadBitRate(bitRate);
    return options;
}

void RecodeFlags::AddOptions(OptionTable& table)
{
    table.push_back(
        {"--recode-encoder", "NAME", "FFmpeg's name of the encoder for groups that a cut runs through", &name});
    table.push_back(
        {"--recode-quality", "N", "their constant quality on the encoder's scale; one that shows no seam", &quality});
    table.push_back({"--recode-preset", "NAME", "speed against size of these groups, in the encoder's words", &preset});
}

Host::RecodeOptions RecodeFlags::Read() const
{
    return {.encoder = name, .preset = preset, .quality = ReadQuality(quality)};
}

} // namespace Tessor::Cli
