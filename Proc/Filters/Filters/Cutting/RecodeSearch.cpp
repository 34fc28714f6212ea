#include "Proc/Filters/Filters/Cutting/RecodeSearch.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/Filters/Filters/Cutting/RecodeCompatibility.h"
#include "Proc/Filters/Filters/Cutting/RecodeSettings.h"
#include "host/ComputingResourceManager.h"
#include "host/ImplNames.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <glog/logging.h>

namespace Tessor::Proc
{

using Video = Conf::IFormatCodecVideo;
using namespace CodecParsers;

namespace
{

/// Codec and implementation that are never used as encoder.
const std::vector<std::pair<std::string, std::string>> g_badCodecConfiguration = {
    {Video::CODEC_ID_WMV2, ImplNames::MEDIA_FOUNDATION},
    {Video::CODEC_ID_MPEG2VIDEO, ImplNames::INTEL_MEDIA_HW},
};

bool CanBeRecoded(const std::string& codec)
{
    static const std::string codecs[] = {
        Video::CODEC_ID_H263,       Video::CODEC_ID_H264,  Video::CODEC_ID_MPEG1VIDEO,
        Video::CODEC_ID_MPEG2VIDEO, Video::CODEC_ID_MPEG4, Video::CODEC_ID_WMV2,
        Video::CODEC_ID_VP8,        Video::CODEC_ID_VP9,   Video::CODEC_ID_THEORA,
    };
    return std::find(std::begin(codecs), std::end(codecs), codec) != std::end(codecs);
}

/// One search, with what all its steps share.
class Search
{
public:
    Search(const SP<IStreamRaw>& source, const SP<ICodecFactory>& factory)
        : source(source), factory(factory), format(source->GetFormatCodec()), codec(format->GetCodecID())
    {
        ability.recodeFormat = std::as_const(*format).GetProperties();
    }

    RecodeAbility Run();

private:
    uint32_t GetPSId() const;
    bool TimesAllow(const StreamSettings& settings) const;
    std::vector<std::string> ListEncoders() const;
    SP<IEncoder> CreateEncoder(const std::string& name) const;
    SP<const IBlob> JoinHeaders(const std::string& name, const Conf::IFormatCodec& encoderFormat) const;
    bool TryEncoder(const std::string& name);

    const SP<IStreamRaw> source;
    const SP<ICodecFactory> factory;
    const SP<Conf::IFormatCodec> format; // the source's
    const std::string codec;
    SP<IStreamVideo> decoder; // what probing encoders read from
    RecodeAbility ability;    // grows into the result
};

RecodeAbility Search::Run()
{
    if (source->GetMediaType() != MediaType::Video || !CanBeRecoded(codec))
        return ability;
    VLOG(31) << "Search for GOP recode ability.";
    decoder = factory->CreateDecoder(source, "");
    const uint32_t psId = GetPSId();
    StreamSettings settings;
    SearchStreamSettings(source, settings);
    if (!TimesAllow(settings))
        return ability;
    ability.dtsShift = settings.dtsShift;
    TryToRecoverAdditionalSettings(*format, ability.recodeFormat, psId, settings.dtsShift != 0);
    for (const std::string& name : ListEncoders())
        if (TryEncoder(name))
            return ability;
    VLOG(31) << "We can't recode GOP: no suitable codec found!";
    return ability;
}

uint32_t Search::GetPSId() const
{
    if (codec != Video::CODEC_ID_H264)
        return 0;
    try
    {
        return GetFirstEmptyPSId(format->GetExtradata());
    }
    catch (const Exception& e)
    {
        // a header that can't be read gets the identifier that all get
        VLOG(31) << "Cought exception while decoding h264 header: " << boost::diagnostic_information(e);
        return 1;
    }
}

bool Search::TimesAllow(const StreamSettings& settings) const
{
    if (settings.invalidPts)
    {
        VLOG(31) << "We can't recode GOP: stream has invalid PTSs";
        return false;
    }
    if (settings.openGop && codec != Video::CODEC_ID_MPEG1VIDEO && codec != Video::CODEC_ID_MPEG2VIDEO)
    {
        VLOG(31) << "We can't recode GOP: stream has open GOPs";
        return false;
    }
    return true;
}

std::vector<std::string> Search::ListEncoders() const
{
    std::vector<std::string> names = factory->ListEncoders(codec, true, true);
    const auto isBad = [this](const std::string& name)
    {
        const auto& bad = g_badCodecConfiguration;
        return std::find(bad.begin(), bad.end(), std::make_pair(codec, name)) != bad.end();
    };
    names.erase(std::remove_if(names.begin(), names.end(), isBad), names.end());
    const auto ffmpeg = std::find(names.begin(), names.end(), ImplNames::FFMPEG);
    if (ffmpeg != names.end())
        std::swap(*ffmpeg, names.front());
    return names;
}

SP<IEncoder> Search::CreateEncoder(const std::string& name) const
{
    const auto log = [&name](const std::string& why) { VLOG(31) << "Creation of " << name << " was failed" << why; };
    SP<Core::IComputingResource> resource; // null: the implementation allocates its own
    if (name == ImplNames::FFMPEG)
        resource = Core::ComputingResourceManager::TakeFakeResource();
    try
    {
        SP<IEncoder> encoder = factory->CreateEncoder(decoder, ability.recodeFormat, name, resource);
        if (!encoder)
            log(", creation function returned nullptr");
        return encoder;
    }
    catch (const Core::NotEnoughResource&)
    {
        log(": not enough resources, try later");
        throw;
    }
    catch (const EncoderException& e)
    {
        log(": EncoderException: " + boost::diagnostic_information(e));
    }
    catch (const CodecFactoryException& e)
    {
        log(": CodecFactoryException: " + boost::diagnostic_information(e));
    }
    return nullptr;
}

/// The header with the parameter sets of both sides, null where none are to be added or can't be.
SP<const IBlob> Search::JoinHeaders(const std::string& name, const Conf::IFormatCodec& encoderFormat) const
{
    const SP<const IBlob> sourceHeader = format->GetExtradata();
    const SP<const IBlob> encoderHeader = encoderFormat.GetExtradata();
    if (codec != Video::CODEC_ID_H264 || name != ImplNames::FFMPEG || !HeaderBytes(sourceHeader).Exist() ||
        !HeaderBytes(encoderHeader).Exist())
        return nullptr;
    try
    {
        return H264_AddPSsToHeader(sourceHeader, encoderHeader);
    }
    catch (const Exception& e)
    {
        VLOG(31) << "Cought exception while decoding h264 header: " << boost::diagnostic_information(e);
        return nullptr;
    }
}

bool Search::TryEncoder(const std::string& name)
{
    const SP<IEncoder> encoder = CreateEncoder(name);
    if (!encoder)
        return false;
    const SP<Conf::IFormatCodec> encoderFormat = encoder->GetFormatCodec();
    const bool compatible = CheckFormatCompatibility(*format, *encoderFormat);
    const SP<const IBlob> joined = JoinHeaders(name, *encoderFormat);
    if (!compatible && !joined)
        return false;
    ability.canRecode = true;
    ability.encoderName = name;
    ability.encoderResource = encoder->GetComputingResource();
    VLOG(31) << "We can recode GOP with " << name;
    if (joined)
    {
        ability.joinedHeader = joined;
        format->SetExtradata(joined);
    }
    encoder->ReleaseInternalData(); // it was made to be asked; groups get encoders of their own
    return true;
}

} // namespace

RecodeAbility SearchRecodeAbility(const SP<IStreamRaw>& source, const SP<ICodecFactory>& factory)
{
    return Search(source, factory).Run();
}

} // namespace Tessor::Proc
