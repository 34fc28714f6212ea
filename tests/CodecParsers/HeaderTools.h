#pragma once

#include "Fnd/DataBitOutput.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"
#include "media/BlobFF.h"
#include "media/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace Tessor::Test
{

using Bytes = std::vector<uint8_t>;

/// Visits fields, each followed by its bits.
template <class F>
void Fields(F&)
{
}

template <class F, class T, class... Rest>
void Fields(F& f, T& field, unsigned bits, Rest&&... rest)
{
    f(field, bits);
    Fields(f, rest...);
}

/// A header as its syntax: `visit(fields, f)` calls f(field, bits) for every bit of it in order.
///
/// One such listing writes a header, fills it with random values and compares two of them.
template <class Visit, class Config>
Bytes WriteHeader(Visit visit, Config& config)
{
    const auto sink = Core::DataOutputString::Create();
    Core::DataBitOutput output(sink);
    visit(config, [&](auto& field, unsigned bits) { output.WriteBits(static_cast<uint32_t>(field), bits); });
    output.Flush();
    return Bytes(sink->GetString().begin(), sink->GetString().end());
}

template <class Visit, class Config>
void Randomize(Visit visit, Config& config, std::mt19937& random)
{
    visit(config, [&](auto& field, unsigned bits)
          { field = static_cast<std::remove_reference_t<decltype(field)>>(random() >> (32 - bits)); });
}

template <class Visit, class Config>
std::vector<uint64_t> Values(Visit visit, Config& config)
{
    std::vector<uint64_t> values;
    visit(config, [&](auto& field, unsigned) { values.push_back(field); });
    return values;
}

/// What a call throws, as "IOException" or the text of another Exception; "" when it throws nothing.
inline std::string Fault(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const Core::IOException&)
    {
        return "IOException";
    }
    catch (const Exception& e)
    {
        return Describe(e);
    }
    return "";
}

/// Decodes every proper beginning of the data, each in a block of its own size so that AddressSanitizer sees
/// over-reading, and gives the lengths that decode.
template <class Config>
std::vector<size_t> DecodableLengths(void (*decode)(const uint8_t*, size_t, Config&), const Bytes& data)
{
    std::vector<size_t> lengths;
    for (size_t size = 0; size < data.size(); ++size)
    {
        const Bytes part(data.begin(), data.begin() + static_cast<ptrdiff_t>(size));
        Config config;
        if (Fault([&] { decode(part.data(), part.size(), config); }).empty())
            lengths.push_back(size);
    }
    return lengths;
}

inline SP<Proc::DataPacketFF> MakePacket(const Bytes& payload, avTime pts = NoTime, avTime dts = NoTime,
                                         avTime duration = 0)
{
    AVPacket* record = Proc::CreatePacket(payload.size());
    std::copy(payload.begin(), payload.end(), record->data);
    return Proc::DataPacketFF::Create(record, MediaType::Video, pts, dts, duration);
}

inline Bytes Payload(const Proc::IDataPacket& packet)
{
    return Bytes(packet.GetData(), packet.GetData() + packet.GetSize());
}

inline Bytes Payload(const Proc::IBlob& blob)
{
    return Bytes(blob.Data(), blob.Data() + blob.Size());
}

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

} // namespace Tessor::Test
