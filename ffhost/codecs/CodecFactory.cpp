#include "ffhost/codecs/CodecFactory.h"

#include "Fnd/Exception.h"
#include "ffhost/codecs/Decoder.h"
#include "ffhost/codecs/Encoder.h"
#include "host/ImplNames.h"

namespace Tessor::Host
{

using namespace Proc;

namespace
{

bool IsOurs(const std::string& implName)
{
    return implName.empty() || implName == ImplNames::DEFAULT || implName == ImplNames::FFMPEG;
}

class CodecFactoryFF final : public ICodecFactory, public RefCountImpl
{
    SP<IStreamVideo> CreateDecoder(const SP<IStreamRaw>& source, const std::string& implName) override
    {
        if (!IsOurs(implName))
            Throw<CodecFactoryException>(TESSOR_HERE, "No implementation \"" + implName + "\" of a decoder");
        return Decoder::Create(source);
    }

    std::vector<std::string> ListEncoders(const std::string& codecId, bool forVideo, bool) const override
    {
        Core::Property tree("Format");
        tree.SetChildT<std::string>(Conf::IFormatCodec::TAG_CODEC_ID, codecId);
        // What libavcodec was built with can always run.
        if (forVideo && EncoderSetup::Find(FindCodecID(tree)))
            return {ImplNames::FFMPEG};
        return {};
    }

    SP<IEncoder> CreateEncoder(const SP<IStreamVideo>& source, const Core::Property& format,
                               const std::string& implName, const SP<Core::IComputingResource>& resource) override
    {
        if (!IsOurs(implName))
            Throw<CodecFactoryException>(TESSOR_HERE, "No implementation \"" + implName + "\" of an encoder");
        return Encoder::Create(source, format, resource);
    }
};

} // namespace

SP<ICodecFactory> CodecFactory::Create()
{
    return SP<ICodecFactory>(new CodecFactoryFF);
}

} // namespace Tessor::Host
