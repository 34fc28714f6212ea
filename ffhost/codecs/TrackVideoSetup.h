#pragma once

#include "Proc/StreamTemplates/IStreamVideo.h"
#include "ffhost/codecs/TrackEncoder.h"
#include "ffhost/codecs/VideoSetup.h"

namespace Tessor::Host
{

/// Opens encoders for a video track of a file of its own: reordering and groups as the encoder likes best, colours,
/// sample aspect and field coding as the source has them.
class TrackVideoSetup final : public VideoSetup
{
public:
    TrackVideoSetup(const SP<Conf::IFormatCodecVideo>& source, const EncoderOptions& options);

    /// Throws EncoderException for options that the encoder does not take, whatever is encoded.
    static void Check(const EncoderOptions& options);

    CodecContextPtr Open() const override;
    const std::string& GetEncoderName() const override { return options.name; }

private:
    void SetFields(AVCodecContext& context) const;
    static int64_t GetUsualBitRate(const AVCodecContext& context, const EncoderOptions& options);
    static void SetQuality(AVCodecContext& context, const EncoderOptions& options);

    const SP<Conf::IFormatCodecVideo> source;
    const EncoderOptions options;
};

} // namespace Tessor::Host
