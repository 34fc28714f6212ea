#pragma once

#include "Fnd/DataBitOutput.h"
#include "Fnd/DataOutputString.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "host/ICodecFactory.h"
#include "host/ImplNames.h"
#include "media/BlobFF.h"
#include "media/IFormatCodecVideo.h"
#include "tests/support/FakeItems.h"

#include <deque>
#include <map>
#include <mutex>

namespace Tessor::Test
{

using Video = Conf::IFormatCodecVideo;

inline SP<const Proc::IBlob> MakeBlob(const std::vector<uint8_t>& bytes)
{
    return Proc::BlobFF::Create(bytes.data(), bytes.size());
}

/// What a test sets in a header of H.264; all else is 0, or what Annex B data of one small picture needs.
struct H264Fields
{
    uint8_t profile = 77;
    uint8_t constraints = 0; ///< the flags as they are stored, set0 highest
    uint32_t id = 0;
    uint32_t refs = 4;
    bool cabac = true;
    bool weighted = false;
    int qp = 0;
    int chroma = 0;
};

/// SPS and PPS in Annex B form.
std::vector<uint8_t> MakeH264Header(const H264Fields& fields);
/// The same as an avcC with lengths of 4 bytes.
std::vector<uint8_t> MakeAvcC(const H264Fields& fields);

/// One frame for each packet, in the order of their PTS; the picture is the packet's payload.
class FakeDecoder final : public Proc::StreamImpl<Proc::IStreamRaw, Proc::IStreamVideo>, public RefCountImpl
{
public:
    explicit FakeDecoder(const SP<Proc::IStreamRaw>& source) : StreamImpl(source, false) {}

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<Video> GetFormatCodec() const override;
    Core::Property GetStatistic() const override { return parentStream->GetStatistic(); }

private:
    void AcceptInternal(Proc::IStreamVisitor&) override {}
    SP<Proc::IDataVideo> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override;
    void DoSeekInternal() override { parentStream->DoSeek(); }

    std::map<avTime, SP<Proc::IDataVideo>> frames; // of the whole source, filled by the first read
    bool filled = false;
};

/// What an implementation of an encoder does.
struct FakeEncoding
{
    enum Creation
    {
        Works,
        ReturnsNull,
        EncoderFault,
        FactoryFault,
        Busy,
    };
    Creation creation = Works;
    std::vector<uint8_t> extradata;
    bool reorders = false; ///< every second picture is decoded behind the one that follows it
    int lost = 0;          ///< frames at the end of which no packet comes
    int failsFrom = -1;    ///< the n-th creation and all that follow throw EncoderException; -1: none
};

/// A key frame and pictures behind it. The payload is one unit of one byte, the picture, behind a start code.
class FakeEncoder final : public Proc::StreamImpl<Proc::IStreamVideo, Proc::IEncoder>, public RefCountImpl
{
public:
    FakeEncoder(const SP<Proc::IStreamVideo>& source, const FakeEncoding& encoding,
                const SP<Core::IComputingResource>& resource)
        : StreamImpl(source, false), encoding(encoding), resource(resource)
    {
    }

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<Conf::IFormatCodec> GetFormatCodec() const override;
    Core::Property GetStatistic() const override { return parentStream->GetStatistic(); }
    MediaType GetMediaType() const override { return MediaType::Video; }
    SP<Core::IComputingResource> GetComputingResource() const override { return resource; }

private:
    void AcceptInternal(Proc::IStreamVisitor&) override {}
    SP<Proc::IDataPacket> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override;
    void DoSeekInternal() override { parentStream->DoSeek(); }
    void Encode();

    const FakeEncoding encoding;
    const SP<Core::IComputingResource> resource;
    std::deque<SP<Proc::IDataPacket>> packets; // of the whole source, filled by the first read
    bool filled = false;
};

/// Encoders are listed in the order of `names`. Several threads may create codecs.
class FakeCodecs final : public Proc::ICodecFactory, public RefCountImpl
{
public:
    static SP<FakeCodecs> Create() { return SP<FakeCodecs>(new FakeCodecs); }
    static SP<FakeCodecs> Create(const std::string& name, const FakeEncoding& encoding)
    {
        const SP<FakeCodecs> codecs = Create();
        codecs->Add(name, encoding);
        return codecs;
    }
    void Add(const std::string& name, const FakeEncoding& encoding)
    {
        names.push_back(name);
        encodings[name] = encoding;
    }

    SP<Proc::IStreamVideo> CreateDecoder(const SP<Proc::IStreamRaw>& source, const std::string&) override
    {
        return SP<Proc::IStreamVideo>(new FakeDecoder(source));
    }
    std::vector<std::string> ListEncoders(const std::string&, bool, bool) const override { return names; }
    SP<Proc::IEncoder> CreateEncoder(const SP<Proc::IStreamVideo>& source, const Core::Property& format,
                                     const std::string& implName,
                                     const SP<Core::IComputingResource>& resource) override;

    std::string tried;         // the encoders in the order of their creation, "+" behind one that got a resource
    Core::Property lastFormat; // of the last encoder

private:
    std::vector<std::string> names;
    std::map<std::string, FakeEncoding> encodings;
    std::mutex mutex;
    int created = 0;
};

} // namespace Tessor::Test
