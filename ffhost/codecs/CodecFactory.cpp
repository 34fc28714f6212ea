#include "ffhost/codecs/CodecFactory.h"

#include "Fnd/Exception.h"
#include "ffhost/codecs/Decoder.h"
#include "ffhost/codecs/Encoder.h"
#include "ffhost/codecs/EncoderSetup.h"
#include "host/ImplNames.h"

#include <atomic>
#include <mutex>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

bool IsOurs(const std::string& implName)
{
    return implName.empty() || implName == ImplNames::DEFAULT || implName == ImplNames::FFMPEG;
}

class CodecFactoryFF final : public CodecFactory, public RefCountImpl
{
public:
    CodecFactoryFF(const DecoderOptions& asked, const RecodeOptions& recode) : options(Counting(asked)), recode(recode)
    {
    }

private:
    static DecoderOptions Counting(DecoderOptions options)
    {
        if (!options.damaged)
            options.damaged = std::make_shared<std::atomic<long long>>(0);
        return options;
    }

    SP<IStreamVideo> CreateDecoder(const SP<IStreamRaw>& source, const std::string& implName) override
    {
        if (!IsOurs(implName))
            Throw<CodecFactoryException>(TESSOR_HERE, "No implementation \"" + implName + "\" of a decoder");
        return Decoder::Create(source, options);
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
        try
        {
            return MakeEncoder(source, format, resource);
        }
        catch (const EncoderException& e)
        {
            if (!required)
                throw;
            Throw<Core::ComputingResourceException>(TESSOR_HERE, Describe(e));
        }
    }

    SP<IEncoder> MakeEncoder(const SP<IStreamVideo>& source, const Core::Property& format,
                             const SP<Core::IComputingResource>& resource)
    {
        // The encoder holds the factory, for it tells what it has done when it goes, whoever still needs it.
        return Encoder::Create(source, format, resource, recode,
                               [self = SP<CodecFactoryFF>(this)](const std::string& name, long long time)
                               { self->NoteUse(name, time); });
    }

    EncoderUse GetEncoderUse() const override
    {
        const std::lock_guard<std::mutex> lock(useMutex);
        return use;
    }

    long long GetDamagedCount() const override { return *options.damaged; }

    void RequireEncoders() override { required = true; }

    // by encoders, at their end, on whichever thread that comes
    void NoteUse(const std::string& name, long long time)
    {
        const std::lock_guard<std::mutex> lock(useMutex);
        use.encoder = name;
        use.time += time;
    }

    const DecoderOptions options;
    const RecodeOptions recode;
    std::atomic<bool> required = false; // set once, by whoever has found what can be encoded
    mutable std::mutex useMutex;        // groups of several tracks may be encoded at a time
    EncoderUse use;                     // of all encoders that have ended
};

} // namespace

SP<CodecFactory> CodecFactory::Create(const DecoderOptions& options, const RecodeOptions& recode)
{
    return SP<CodecFactory>(new CodecFactoryFF(options, recode));
}

void CodecFactory::Check(const Conf::IFormatCodec& format, const RecodeOptions& recode)
{
    EncoderSetup::Check(FindCodecID(format.GetProperties()), recode);
}

} // namespace Tessor::Host
