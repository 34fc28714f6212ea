#pragma once

#include "cli/options/OptionTable.h"
#include "ffhost/codecs/RecodeOptions.h"
#include "ffhost/codecs/TrackEncoding.h"

namespace Tessor::Cli
{

/// A bit rate as it is written: "2500000", "2500k", "2.5M". Empty is 0, the usual one. Throws UserError with
/// ExitCode::Usage.
long long ReadBitRate(const std::string& text);

/// The options by which verbs let their pictures be encoded.
class VideoEncoderFlags
{
public:
    void AddOptions(OptionTable& table);
    /// Throws UserError with ExitCode::Usage for what is no number.
    Host::EncoderOptions Read() const;

private:
    std::string name, crf, preset, bitRate;
};

/// The same for sound.
class AudioEncoderFlags
{
public:
    void AddOptions(OptionTable& table);
    Host::EncoderOptions Read() const;

private:
    std::string name, bitRate;
};

/// The options by which a cut lets those groups be encoded that it runs through.
class RecodeFlags
{
public:
    void AddOptions(OptionTable& table);
    /// Throws UserError with ExitCode::Usage for what is no number.
    Host::RecodeOptions Read() const;

private:
    std::string name, quality, preset;
};

} // namespace Tessor::Cli
