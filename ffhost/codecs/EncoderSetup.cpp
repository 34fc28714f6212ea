#include "ffhost/codecs/EncoderSetup.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/MpegProfiles.h"
#include "ffhost/FormatTags.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/EncoderTable.h"
#include "ffhost/codecs/PictureTraits.h"
#include "ffhost/codecs/Threads.h"
#include "media/FFmpegCompat.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <map>
#include <sstream>

namespace Tessor::Host
{

using namespace Proc;
using Conf::IFormatCodec;
using Conf::IFormatCodecVideo;

namespace
{

/// Longer than groups are; the MPEG encoders take no more.
constexpr int GROUP_SIZE = 600;

/// The coarsest quantiser of H.264 at which a seam can't be seen (40 dB and more on real clips), and the finest that is
/// of use: 0 would be lossless, which few profiles have.
constexpr int COARSEST_QP = 18, FINEST_QP = 8;

/// What units after lengths of two bytes may have, with a reserve for a block that is larger than the rest.
constexpr int LARGEST_SLICE = 60000;

/// Identifiers of parameter sets, in the encoder's options.
const std::string JOINED_ID = "sps-id=1";
const std::string OWN_ID = "sps-id=2";

/// An encoder by its name, for libavcodec's first choice of a codec may need hardware, and its scale of quality.
struct Choice
{
    const char* name;
    int quality; // at which a seam can't be seen
    int lowest, highest;
};

const std::map<AVCodecID, Choice> ENCODERS = {
    {AV_CODEC_ID_H264, {"libx264", COARSEST_QP, 1, 51}}, // 0 is lossless
    {AV_CODEC_ID_MPEG1VIDEO, {"mpeg1video", 2, 1, 31}},
    {AV_CODEC_ID_MPEG2VIDEO, {"mpeg2video", 2, 1, 31}},
    {AV_CODEC_ID_MPEG4, {"mpeg4", 2, 1, 31}},
    {AV_CODEC_ID_H263, {"h263", 2, 1, 31}},
    {AV_CODEC_ID_WMV2, {"wmv2", 2, 1, 31}},
    {AV_CODEC_ID_VP8, {"libvpx", 10, 4, 63}},
    {AV_CODEC_ID_VP9, {"libvpx-vp9", 20, 0, 63}},
    {AV_CODEC_ID_THEORA, {"libtheora", 8, 0, 10}}, // which is the best
};

/// libavcodec's numbers of these profiles are the codes that headers have for them.
static_assert(AV_PROFILE_MPEG2_422 == 0 && AV_PROFILE_MPEG2_SIMPLE == 5 && AV_PROFILE_MPEG4_ADVANCED_SIMPLE == 15);

/// The tables are in the order of libavcodec's numbers.
int FindProfile(const std::vector<std::string>& profiles, const std::string& name)
{
    const auto found = std::find(profiles.begin(), profiles.end(), name);
    return found != profiles.end() ? static_cast<int>(found - profiles.begin()) : AV_PROFILE_UNKNOWN;
}

/// Bytes of the lengths before units of H.264; 4 where the header tells none.
size_t GetLengthSize(const SP<const IBlob>& header)
try
{
    const size_t size = header ? CodecParsers::GetAvccNALULengthSize(header->Data(), header->Size()) : 0;
    return size > 0 ? size : 4;
}
catch (const Exception&)
{
    return 4;
}

Core::Property GetNode(const Core::Property& tree, const std::string& tag)
{
    return tree.ChildExists(tag) && tree[tag].GetType() == Core::Property::TypeNode ? tree[tag] : Core::Property(tag);
}

} // namespace

const AVCodec* EncoderSetup::Find(AVCodecID id)
{
    const auto found = ENCODERS.find(id);
    return found != ENCODERS.end() ? avcodec_find_encoder_by_name(found->second.name) : nullptr;
}

void EncoderSetup::Check(AVCodecID id, const RecodeOptions& wanted)
{
    const auto refuse = [](const std::string& why) { Throw<CodecFactoryException>(TESSOR_HERE, why); };
    const auto found = ENCODERS.find(id);
    if (found == ENCODERS.end())
        refuse(std::string("groups of ") + avcodec_get_name(id) + " are never re-encoded");
    const Choice& known = found->second;
    const std::string name = known.name;
    if (!wanted.encoder.empty() && wanted.encoder != name)
        refuse("\"" + wanted.encoder + "\" can't re-encode groups of " + avcodec_get_name(id) + "; " + name + " can");
    if (wanted.quality >= 0 && (wanted.quality < known.lowest || wanted.quality > known.highest))
        refuse(name + " takes a quality from " + std::to_string(known.lowest) + " to " + std::to_string(known.highest));
    const std::vector<std::string>& presets = FindEncoder(name).presets;
    if (wanted.preset.empty() || std::count(presets.begin(), presets.end(), wanted.preset))
        return;
    std::string list;
    for (const std::string& preset : presets)
        list += (list.empty() ? "" : ", ") + preset;
    refuse(name +
           (list.empty() ? " knows no presets" : " knows no preset \"" + wanted.preset + "\"; it knows " + list));
}

EncoderSetup::EncoderSetup(const SP<IFormatCodecVideo>& source, const Core::Property& recode,
                           const RecodeOptions& wanted)
    : source(source), recode(recode), wanted(wanted), options(GetNode(recode, IFormatCodec::TAG_CODEC_OPTIONS_ENCODE)),
      codec(Find(FindCodecID(recode))), name(codec ? codec->name : "")
{
}

CodecContextPtr EncoderSetup::Open() const
{
    CheckSource();
    const FFmpegErrorCapture errors;
    int result = 0;
    // A refusal is the same each time; a lack of threads or memory, which encoders tell in the same way, may pass.
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        CodecContextPtr context = Prepare();
        result = avcodec_open2(context.get(), codec, nullptr);
        if (result >= 0)
            return context;
    }
    Throw<EncoderException>(TESSOR_HERE, "Can't open the encoder " + name + ": " + errors.GetText(result));
}

// Profile and level, which the header has for other pictures, are left to the encoder. Parameter sets of H.264 get an
// identifier of their own: they must not replace those that were added to the stream's header for other groups.
std::unique_ptr<const VideoSetup> EncoderSetup::ForPicture(const AVFrame& picture) const
{
    const SP<IFormatCodecVideo> format = source->Clone();
    const AVRational told = picture.sample_aspect_ratio;
    const AVRational aspect = told.num > 0 && told.den > 0 ? told : AVRational{1, 1};
    format->InitByPixelAspect(static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height),
                              static_cast<unsigned>(aspect.num), static_cast<unsigned>(aspect.den));
    format->SetPixelFormat(static_cast<PixFmt>(picture.format));
    Core::Property tools = options, tree = recode;
    tools.RemoveChild(IFormatCodec::TAG_PROFILE);
    std::string special = GetText(options, IFormatCodecVideo::TAG_FF_SPECIAL_OPTS);
    if (const size_t at = special.find(JOINED_ID); at != std::string::npos)
        tools.SetChildT(IFormatCodecVideo::TAG_FF_SPECIAL_OPTS, special.replace(at, JOINED_ID.size(), OWN_ID));
    tree.RemoveChild(IFormatCodec::TAG_CODEC_OPTIONS_ENCODE);
    tree.Add(tools);
    tree.RemoveChild(FormatTags::LEVEL);
    const AVFieldOrder fields = FFmpeg::IsTopFieldFirst(picture) ? AV_FIELD_TT : AV_FIELD_BB;
    tree.SetChildT<long long>(FormatTags::FIELD_ORDER, FFmpeg::IsInterlaced(picture) ? fields : AV_FIELD_PROGRESSIVE);
    return std::make_unique<EncoderSetup>(format, tree, wanted);
}

// An encoder of fields takes progressive pictures as well; one of frames would mingle the fields.
bool EncoderSetup::KeepsFields(const AVFrame& picture) const
{
    return !FFmpeg::IsInterlaced(picture) || !CodesFields() ||
           IsInterlaced(GetNumber(recode, FormatTags::FIELD_ORDER, AV_FIELD_UNKNOWN));
}

void EncoderSetup::CheckSource() const
{
    const std::string refusal = GetText(recode, FormatTags::REFUSE_RECODE);
    if (!refusal.empty())
        Throw<CodecFactoryException>(TESSOR_HERE, refusal);
    const AVCodecID id = FindCodecID(recode);
    if (!codec)
    {
        const auto wanted = ENCODERS.find(id);
        Throw<CodecFactoryException>(
            TESSOR_HERE, wanted == ENCODERS.end() ? std::string("No encoder for ") + avcodec_get_name(id)
                                                  : std::string("The encoder ") + wanted->second.name + " is missing");
    }
    if (GetText(options, IFormatCodec::TAG_PROFILE) == IFormatCodecVideo::TAG_X264_PROFILE_EXTENDED)
        Throw<CodecFactoryException>(TESSOR_HERE, name + " knows no extended profile");

    if (codec->id == AV_CODEC_ID_H264 && GetLengthSize(source->GetExtradata()) == 1)
        Throw<CodecFactoryException>(TESSOR_HERE, "lengths of one byte are too short for what " + name + " makes");

    const AVPixelFormat format = static_cast<AVPixelFormat>(source->GetPixelFormat());
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    const AVPixelFormat* known = FFmpeg::ListPixelFormats(*codec);
    while (known && *known != AV_PIX_FMT_NONE && *known != format)
        ++known;
    if (!description || (description->flags & AV_PIX_FMT_FLAG_ALPHA) || (known && *known == AV_PIX_FMT_NONE))
        Throw<CodecFactoryException>(TESSOR_HERE, name + " can't encode pixels of the format " +
                                                      (description ? description->name : "none"));
}

CodecContextPtr EncoderSetup::Prepare() const
{
    CodecContextPtr context(avcodec_alloc_context3(codec));
    if (!context)
        throw std::bad_alloc();
    const Conf::FrameInfo info = source->GetFrameInfo();
    context->width = info.width;
    context->height = info.height;
    context->pix_fmt = static_cast<AVPixelFormat>(source->GetPixelFormat());
    ApplyPictureProperties(source->GetProperties(), *context);
    SetFrameRate(*context, recode.ChildExists(IFormatCodecVideo::TAG_FPS) ? recode : source->GetProperties());
    SetFields(*context);
    context->bit_rate = std::max<int64_t>(GetNumber(recode, IFormatCodec::TAG_BITRATE, 0), 0);
    // Closed, for nothing may refer to what another encoder made. BITEXACT keeps names and versions out of the stream.
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_CLOSED_GOP | AV_CODEC_FLAG_BITEXACT;
    context->gop_size = GROUP_SIZE;
    // However many B frames stand in a row, as long as none refers to another they take a depth of one picture: two are
    // never too many where the source reorders.
    context->max_b_frames = GetNumber(recode, FormatTags::REORDER_DEPTH, 0) > 0 ? 2 : 0;
    context->thread_count = GetThreadCount();
    SetCodecOptions(*context);
    return context;
}

bool EncoderSetup::CodesFields() const
{
    return codec->id == AV_CODEC_ID_H264 || codec->id == AV_CODEC_ID_MPEG2VIDEO;
}

void EncoderSetup::SetFields(AVCodecContext& context) const
{
    const long long order = GetNumber(recode, FormatTags::FIELD_ORDER, AV_FIELD_UNKNOWN);
    context.field_order = IsInterlaced(order) ? static_cast<AVFieldOrder>(order) : AV_FIELD_PROGRESSIVE;
    // for x264 the first flag means interlaced coding altogether
    if (IsInterlaced(order) && CodesFields())
        context.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
}

void EncoderSetup::SetCodecOptions(AVCodecContext& context) const
{
    switch (codec->id)
    {
    case AV_CODEC_ID_H264:
        return SetupH264(context);
    case AV_CODEC_ID_MPEG2VIDEO:
        return SetupMPEG2(context);
    case AV_CODEC_ID_MPEG4:
        return SetupMPEG4(context);
    case AV_CODEC_ID_VP8:
    case AV_CODEC_ID_VP9:
        return SetupVPx(context);
    case AV_CODEC_ID_THEORA:
        return SetConstantQuantiser(context);
    case AV_CODEC_ID_MPEG1VIDEO:
        SetOption(context, "sc_threshold", "1000000000");
        return SetConstantQuantiser(context);
    default:
        // H.263 and WMV2 know no B pictures, so that every group is closed; asking for it is a fault there.
        context.max_b_frames = 0;
        context.flags &= ~AV_CODEC_FLAG_CLOSED_GOP;
        return SetConstantQuantiser(context);
    }
}

void EncoderSetup::SetupH264(AVCodecContext& context) const
{
    context.bit_rate = 0; // the quantiser decides
    context.level = static_cast<int>(GetNumber(recode, FormatTags::LEVEL, AV_LEVEL_UNKNOWN));
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(context.pix_fmt);
    const std::string profile = GetText(options, IFormatCodec::TAG_PROFILE);
    // Beyond 4:2:0 in 8 bits the profile follows from the pixel format, and the encoder finds it itself.
    const bool common = description->comp[0].depth == 8 && description->log2_chroma_w && description->log2_chroma_h;
    if (!profile.empty() && common)
        SetOption(context, "profile", profile);
    if (profile == IFormatCodecVideo::TAG_X264_PROFILE_BASELINE)
        context.max_b_frames = 0; // it has no B slices (ITU-T H.264, A.2.1)
    // Half of the time that "faster" takes. With a constant quantiser most of what is left out costs size, not quality.
    // But for SATD (subq 2), without which a picture with noise takes a fifth more; and what is rounded down less than
    // usual makes up for the trellis search. Looking ahead on a thread of its own takes pictures, and gains nothing
    // here.
    SetOption(context, "preset", wanted.preset.empty() ? "superfast" : wanted.preset);
    if (wanted.preset.empty())
    {
        SetOption(context, "subq", "2");
        SetOption(context, "x264-params", "deadzone-inter=18:deadzone-intra=10:sync-lookahead=0");
    }
    SetOption(context, "sc_threshold", "0"); // off: changes of scene would start groups of their own
    // The header tells readers how deep pictures are reordered, and those of Matroska derive decoding times from that:
    // a group that opens the file must not promise less than what follows it needs.
    const bool deep = context.max_b_frames > 1 && GetNumber(recode, FormatTags::REORDER_DEPTH, 0) > 1;
    SetOption(context, "b-pyramid", deep ? "normal" : "none");
    SetOption(context, "qp", std::to_string(GetQuality()));
    if (GetLengthSize(source->GetExtradata()) < 4)
        SetOption(context, "slice-max-size", std::to_string(LARGEST_SLICE));
    const std::string special = GetText(options, IFormatCodecVideo::TAG_FF_SPECIAL_OPTS);
    // what the source's header asks for, as "x264opts;name=value:name=value"
    const size_t separator = special.find(';');
    if (separator != std::string::npos)
        SetOption(context, special.substr(0, separator).c_str(), LimitQuantiser(special.substr(separator + 1)));
}

/// A list of encoder's options "a=b:c" with its quantiser limited. A header tells the one that slices start from, often
/// 26: it says nothing of the quality that they have, and at that one a seam is seen.
std::string EncoderSetup::LimitQuantiser(const std::string& list) const
{
    std::istringstream input(list);
    std::string result;
    for (std::string item; std::getline(input, item, ':');)
    {
        if (item.compare(0, 3, "qp=") == 0 && wanted.quality >= 0)
            item = "qp=" + std::to_string(wanted.quality);
        else if (item.compare(0, 3, "qp=") == 0)
            item = "qp=" + std::to_string(std::clamp(std::atoi(item.c_str() + 3), FINEST_QP, COARSEST_QP));
        result += (result.empty() ? "" : ":") + item;
    }
    return result;
}

void EncoderSetup::SetupMPEG2(AVCodecContext& context) const
{
    context.profile = FindProfile(CodecParsers::GetMPEG2Profiles(), GetText(options, IFormatCodec::TAG_PROFILE));
    // a profile needs a level beside it: main level, code 8, where the header tells none
    context.level = context.profile == AV_PROFILE_UNKNOWN
                        ? AV_LEVEL_UNKNOWN
                        : static_cast<int>(GetNumber(options, IFormatCodecVideo::TAG_PROFILE_LEVEL, 8));
    // Changes of scene would start groups of their own.
    SetOption(context, "sc_threshold", "1000000000");
    SetConstantQuantiser(context);
}

/// The pictures have to be readable with the source's header, which gives the bits of a picture's time.
void EncoderSetup::SetupMPEG4(AVCodecContext& context) const
{
    context.profile = FindProfile(CodecParsers::GetMPEG4Profiles(), GetText(options, IFormatCodec::TAG_PROFILE));
    context.level = static_cast<int>(GetNumber(options, IFormatCodecVideo::TAG_PROFILE_LEVEL, AV_LEVEL_UNKNOWN));
    SetOption(context, "sc_threshold", "1000000000");
    SetConstantQuantiser(context);
    const SP<const IBlob> extradata = source->GetExtradata();
    if (!extradata)
        return;
    CodecParsers::MPEG4_Config config;
    try
    {
        CodecParsers::DecodeMPEG4Config(extradata->Data(), extradata->Size(), config);
    }
    catch (const Exception&)
    {
        return; // a header that can't be read sets no conditions
    }
    // One tick of the header's resolution: a base of several ticks, such as a frame, would be reduced, and the encoder
    // would write another resolution.
    if (config.vop_time_increment_resolution)
        context.time_base = {1, config.vop_time_increment_resolution};
}

void EncoderSetup::SetupVPx(AVCodecContext& context) const
{
    // No looking ahead, and no hidden pictures: there is to be one packet for each frame.
    context.max_b_frames = 0;
    const bool vp9 = codec->id == AV_CODEC_ID_VP9;
    // VP9 takes 0 as constant quality; VP8 needs room for it: a bit for each pixel.
    const AVRational rate = context.framerate;
    context.bit_rate = vp9 ? 0 : av_rescale(static_cast<int64_t>(context.width) * context.height, rate.num, rate.den);
    SetOption(context, "crf", std::to_string(GetQuality()));
    SetOption(context, "lag-in-frames", "0");
    SetOption(context, "auto-alt-ref", "0");
    SetOption(context, "deadline", "good");
    SetOption(context, "cpu-used", "4");
}

void EncoderSetup::SetConstantQuantiser(AVCodecContext& context) const
{
    context.flags |= AV_CODEC_FLAG_QSCALE;
    context.global_quality = GetQuality() * FF_QP2LAMBDA;
}

int EncoderSetup::GetQuality() const
{
    return wanted.quality >= 0 ? wanted.quality : ENCODERS.at(codec->id).quality;
}

} // namespace Tessor::Host
