#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamVideo.h"
#include "ffhost/codecs/TrackEncoder.h"
#include "ffhost/io/MediaInfo.h"

#include <string>
#include <vector>

/// How tracks are encoded for a file of their own: which encoder, in which form of pictures and samples.
namespace Tessor::Host
{

/// The options completed for a file in the container of that format, or without one of that name: the container's usual
/// encoder, and where its header belongs. Throws CodecFactoryException for an encoder that is missing, of the other
/// kind or that the container can't carry, with the names of those that there are.
TESSOR_API EncoderOptions ChooseEncoder(const std::string& path, const std::string& format, MediaType type,
                                        const EncoderOptions& wanted);

/// Throws what ChooseEncoder and the encoder would, before there is anything to encode. A file that has no place for
/// tracks of that kind needs no encoder.
TESSOR_API void CheckEncoder(const std::string& path, const std::string& format, MediaType type,
                             const EncoderOptions& wanted);

/// Whether such a file has a place for tracks of that kind.
TESSOR_API bool HasPlaceFor(const std::string& path, const std::string& format, MediaType type);

/// The pixel formats that an encoder takes and that suit a source: those with alpha for sources with alpha, where there
/// are some; of the others all that keep what it has, but 4:2:0 for sources that are no YUV where the encoder is not
/// always lossless. Empty for any.
TESSOR_API std::vector<PixFmt> ListPixelFormats(const std::string& encoder, PixFmt source);

/// The size nearest to a picture's, and not above it, that an encoder takes in that pixel format.
TESSOR_API Conf::FrameInfo FitSize(const std::string& encoder, PixFmt format, Conf::FrameInfo size);

/// The format of samples nearest to the source's that an encoder takes.
TESSOR_API Conf::SampleInfo FitSampleInfo(const std::string& encoder, const Conf::SampleInfo& source);

/// One packet for each picture, with its times. The pictures have to be in a format and size that the encoder takes.
/// Throws EncoderException when opening fails or the encoder does not know an option.
TESSOR_API SP<TrackEncoder> CreateTrackEncoder(const SP<Proc::IStreamVideo>& source, const EncoderOptions& options);
/// Packets whose times follow the samples, the first lies before the sound by the encoder's delay.
TESSOR_API SP<TrackEncoder> CreateTrackEncoder(const SP<Proc::IStreamAudio>& source, const EncoderOptions& options);

/// The source's track as a container is told of it when the encoder's packets stand for those of the source.
TESSOR_API TrackInfo DescribeTrack(const TrackInfo& source, const TrackEncoder& encoder);

} // namespace Tessor::Host
