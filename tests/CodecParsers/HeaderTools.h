#pragma once

#include "Fnd/Exception.h"
#include "media/BlobFF.h"
#include "media/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace Tessor::Test
{

using Bytes = std::vector<uint8_t>;

/// What the bit reader says of data that ends too early.
inline const std::string PastTheEnd = "Reading of bits past the end of the data";

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// Bytes of "00 01 ff".
inline Bytes Hex(const std::string& text)
{
    Bytes bytes;
    std::istringstream in(text);
    for (std::string token; in >> token;)
        bytes.push_back(static_cast<uint8_t>(std::stoul(token, nullptr, 16)));
    return bytes;
}

/// "00 01 ff" of bytes.
inline std::string ToHex(const uint8_t* data, size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; ++i)
        text += std::string(i > 0 ? " " : "") + digits[data[i] >> 4] + digits[data[i] & 15];
    return text;
}

inline std::string ToHex(const Bytes& bytes)
{
    return ToHex(bytes.data(), bytes.size());
}

/// Units as "[65 88]|[41]", an empty one as "[]".
template <class Units>
std::string ToHex(const Units& units)
{
    std::string text;
    for (const auto& [data, size] : units)
        text += (text.empty() ? "[" : "|[") + ToHex(data, size) + "]";
    return text;
}

inline Bytes Payload(const Proc::IDataPacket& packet)
{
    return Bytes(packet.GetData(), packet.GetData() + packet.GetSize());
}

inline Bytes Payload(const Proc::IBlob& blob)
{
    return Bytes(blob.Data(), blob.Data() + blob.Size());
}

inline std::string ToHex(const Proc::IDataPacket& packet)
{
    return ToHex(Payload(packet));
}

inline std::string ToHex(const Proc::IBlob& blob)
{
    return ToHex(Payload(blob));
}

inline SP<Proc::IBlob> MakeBlob(const Bytes& bytes)
{
    return Proc::BlobFF::Create(bytes.data(), bytes.size());
}

inline SP<Proc::IBlob> MakeBlob(const std::string& hex)
{
    return MakeBlob(Hex(hex));
}

inline SP<Proc::DataPacketFF> MakePacket(const Bytes& payload, avTime pts = NoTime, avTime dts = NoTime,
                                         avTime duration = 0)
{
    AVPacket* record = Proc::CreatePacket(payload.size());
    std::copy(payload.begin(), payload.end(), record->data);
    return Proc::DataPacketFF::Create(record, MediaType::Video, pts, dts, duration);
}

/// A packet of those bytes with PTS 40, DTS 20 and duration 10.
inline SP<Proc::IDataPacket> MakeVideoPacket(const std::string& hex, bool key)
{
    const SP<Proc::IDataPacket> packet = MakePacket(Hex(hex), 40, 20, 10);
    packet->GetAVPacket()->flags = key ? AV_PKT_FLAG_KEY : 0;
    return packet;
}

/// The text of what a call throws; "" when it throws nothing.
template <class Call>
std::string Failure(Call&& call)
{
    try
    {
        call();
    }
    catch (const std::exception& e)
    {
        return Describe(e);
    }
    return "";
}

/// What the call gives as text: of a packet or blob its bytes, or the text of what it throws.
template <class Call>
std::string ResultOf(Call&& call)
{
    std::string result;
    const std::string failure = Failure(
        [&]
        {
            if constexpr (std::is_arithmetic_v<decltype(call())>)
                result = std::to_string(call());
            else
                result = ToHex(*call());
        });
    return failure.empty() ? result : failure;
}

template <class Record>
using Decode = void (*)(const uint8_t* data, size_t size, Record& record);

/// Calls with every proper beginning of the data, each in memory of its own size so that AddressSanitizer sees
/// over-reading, and gives the lengths at which the call throws nothing.
template <class Call>
std::vector<size_t> CompleteLengths(const Bytes& data, Call&& call)
{
    std::vector<size_t> lengths;
    for (size_t size = 0; size < data.size(); ++size)
    {
        const Bytes part(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
        if (Failure([&] { call(part.data(), part.size()); }).empty())
            lengths.push_back(size);
    }
    return lengths;
}

/// A known header: it has to be read as expected, also over what was read before, and to be refused when it is
/// truncated at any but the lengths given.
template <class Record>
void CheckHeader(std::type_identity_t<Decode<Record>> decode, const std::string& hex, const Record& expected,
                 const std::vector<size_t>& complete = {})
{
    SCOPED_TRACE(hex);
    const Bytes data = Hex(hex);
    Record record;
    EXPECT_EQ(Failure([&] { decode(data.data(), data.size(), record); }), "");
    EXPECT_EQ(Failure([&] { decode(data.data(), data.size(), record); }), "");
    EXPECT_TRUE(record == expected);
    EXPECT_EQ(CompleteLengths(data, [&](auto* part, size_t size) { decode(part, size, record); }), complete);
}

} // namespace Tessor::Test
