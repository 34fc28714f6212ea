#pragma once

#include "Fnd/Exception.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "host/ICodecFactory.h"
#include "host/ImplNames.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <mutex>

namespace Tessor::Test
{

using Video = Conf::IFormatCodecVideo;

/// Converts the whole source at the first read, and anew after a seek.
template <class From, class To>
class WholeStream : public Proc::StreamImpl<From, To>, public RefCountImpl
{
public:
    explicit WholeStream(const SP<From>& source) : Proc::StreamImpl<From, To>(source, false) {}

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    Core::Property GetStatistic() const override { return this->parentStream->GetStatistic(); }

protected:
    using Item = typename To::Item;
    virtual std::deque<SP<Item>> Convert() = 0;

private:
    void AcceptInternal(Proc::IStreamVisitor&) override {}
    SP<Item> ReadInternal() override
    {
        if (!std::exchange(filled, true))
            items = Convert();
        if (items.empty())
            return nullptr;
        const SP<Item> item = items.front();
        items.pop_front();
        return item;
    }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        filled = false;
        this->parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { this->parentStream->DoSeek(); }

    std::deque<SP<Item>> items;
    bool filled = false;
};

/// One frame for each packet, in the order of their PTS; the picture is the packet's payload.
class FakeDecoder final : public WholeStream<Proc::IStreamRaw, Proc::IStreamVideo>
{
public:
    using WholeStream::WholeStream;

    SP<Video> GetFormatCodec() const override
    {
        const SP<Video> format = Video::Create();
        format->Merge(std::as_const(*parentStream->GetFormatCodec()).GetProperties());
        return format;
    }

private:
    std::deque<SP<Proc::IDataVideo>> Convert() override
    {
        std::deque<SP<Proc::IDataVideo>> frames;
        while (const SP<Proc::IDataPacket> packet = parentStream->Read())
            frames.push_back(CreateFrame(DescribeItem(*packet)));
        std::sort(frames.begin(), frames.end(), [](auto& a, auto& b) { return a->GetPTS() < b->GetPTS(); });
        return frames;
    }
};

/// What an implementation of an encoder does.
struct FakeEncoding
{
    std::function<void()> creation = [] {}; ///< may throw
    bool isNull = false;
    Bytes extradata = {};
    bool reorders = false; ///< every second picture is decoded after the one that follows it
    size_t lost = 0;       ///< frames at the end of which no packet comes
};

/// A key frame and pictures after it. The payload is one unit of one byte, the picture, after a start code.
class FakeEncoder final : public WholeStream<Proc::IStreamVideo, Proc::IEncoder>
{
public:
    FakeEncoder(const SP<Proc::IStreamVideo>& source, const FakeEncoding& encoding,
                const SP<Core::IComputingResource>& resource)
        : WholeStream(source), encoding(encoding), resource(resource)
    {
    }

    SP<Conf::IFormatCodec> GetFormatCodec() const override
    {
        const SP<Conf::IFormatCodec> format = parentStream->GetFormatCodec()->Clone();
        format->SetExtradata(MakeExtradata(encoding.extradata));
        return format;
    }
    MediaType GetMediaType() const override { return MediaType::Video; }
    SP<Core::IComputingResource> GetComputingResource() const override { return resource; }

private:
    std::deque<SP<Proc::IDataPacket>> Convert() override
    {
        Script frames;
        while (const SP<Proc::IDataVideo> frame = parentStream->Read())
            frames.push_back(DescribeItem(*frame));
        const Script clock = frames;
        for (size_t i = 1; encoding.reorders && i + 1 < frames.size(); i += 2)
            std::swap(frames[i], frames[i + 1]);
        std::deque<SP<Proc::IDataPacket>> packets;
        for (size_t i = 0; i + encoding.lost < frames.size(); ++i)
        {
            frames[i].key = i == 0;
            frames[i].dts = clock[i].pts - (encoding.reorders ? 40 * ms : 0);
            const Bytes payload{0, 0, 1, uint8_t(frames[i].value)};
            packets.push_back(CreateFakePacket(frames[i], MediaType::Video, &payload));
        }
        return packets;
    }

    const FakeEncoding encoding;
    const SP<Core::IComputingResource> resource;
};

/// Encoders are listed in their order. Several threads may create codecs.
class FakeCodecs final : public Proc::ICodecFactory, public RefCountImpl
{
public:
    using Encoders = std::vector<std::pair<std::string, FakeEncoding>>;

    static SP<FakeCodecs> Create(const Encoders& encoders = {}) { return SP<FakeCodecs>(new FakeCodecs(encoders)); }

    SP<Proc::IStreamVideo> CreateDecoder(const SP<Proc::IStreamRaw>& source, const std::string&) override
    {
        return SP<Proc::IStreamVideo>(new FakeDecoder(source));
    }
    std::vector<std::string> ListEncoders(const std::string&, bool, bool) const override
    {
        std::vector<std::string> names;
        for (const auto& [name, encoding] : encoders)
            names.push_back(name);
        return names;
    }
    SP<Proc::IEncoder> CreateEncoder(const SP<Proc::IStreamVideo>& source, const Core::Property& format,
                                     const std::string& implName, const SP<Core::IComputingResource>& resource) override
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            tried += (tried.empty() ? "" : " ") + implName + (resource ? "+" : "");
            lastFormat = format;
        }
        const FakeEncoding& encoding =
            std::find_if(encoders.begin(), encoders.end(), [&](const auto& e) { return e.first == implName; })->second;
        encoding.creation();
        return encoding.isNull ? nullptr : SP<Proc::IEncoder>(new FakeEncoder(source, encoding, resource));
    }

    template <class E>
    static void Fail()
    {
        Throw<E>(TESSOR_HERE, "scripted failure");
    }

    std::string tried;         // the encoders in the order of their creation, "+" after one that got a resource
    Core::Property lastFormat; // of the last encoder

private:
    explicit FakeCodecs(const Encoders& encoders) : encoders(encoders) {}

    const Encoders encoders;
    std::mutex mutex;
};

} // namespace Tessor::Test
