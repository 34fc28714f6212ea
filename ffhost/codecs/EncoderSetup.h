#pragma once

#include "ffhost/codecs/RecodeOptions.h"
#include "ffhost/codecs/VideoSetup.h"
#include "media/formats/IFormatCodecVideo.h"

namespace Tessor::Host
{

/// Opens encoders whose packets can stand beside those of a source: its codec, profile, level, field coding, colours
/// and header fields, no more reordering than it has, closed groups with as few key pictures as possible, one packet a
/// frame, and a quality at which a seam can't be seen.
class EncoderSetup final : public VideoSetup
{
public:
    /// `source`: the format of the frames, with the extradata of what they were decoded from. `recode`: the tree of the
    /// wanted format.
    EncoderSetup(const SP<Conf::IFormatCodecVideo>& source, const Core::Property& recode,
                 const RecodeOptions& wanted = {});

    /// Throws CodecFactoryException, with what there is, for options that no encoder of the codec takes.
    static void Check(AVCodecID id, const RecodeOptions& wanted);

    /// Throws CodecFactoryException for what can't stand beside the source, EncoderException when opening fails.
    CodecContextPtr Open() const override;
    std::unique_ptr<const VideoSetup> ForPicture(const AVFrame& picture) const override;
    bool KeepsFields(const AVFrame& picture) const override;
    const std::string& GetEncoderName() const override { return name; }

    /// The encoder of a codec; null where libavcodec was built without it.
    static const AVCodec* Find(AVCodecID id);

private:
    void CheckSource() const;
    CodecContextPtr Prepare() const;
    bool CodesFields() const;
    void SetFields(AVCodecContext& context) const;
    void SetCodecOptions(AVCodecContext& context) const;
    void SetupH264(AVCodecContext& context) const;
    void SetupMPEG2(AVCodecContext& context) const;
    void SetupMPEG4(AVCodecContext& context) const;
    void SetupVPx(AVCodecContext& context) const;
    void SetConstantQuantiser(AVCodecContext& context) const;
    int GetQuality() const;
    std::string LimitQuantiser(const std::string& list) const;

    const SP<Conf::IFormatCodecVideo> source;
    const Core::Property recode;  // the wanted tree
    const RecodeOptions wanted;   // what was asked for beyond that
    const Core::Property options; // its TAG_CODEC_OPTIONS_ENCODE, empty when there is none
    const AVCodec* const codec;   // null when the codec has no encoder here
    const std::string name;       // libavcodec's name of it
};

} // namespace Tessor::Host
