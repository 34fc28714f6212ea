#pragma once

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "tests/support/FakeItems.h"
#include "tests/support/ReadAll.h"

#include <algorithm>
#include <sstream>

namespace Tessor::Test
{

// What the tests of parsers speak of.
using namespace Proc;
using namespace Proc::CodecParsers;

/// What the bit reader says of data that ends too early.
inline const std::string PastTheEnd = "Reading of bits past the end of the data";

inline const std::string StartCode = "00 00 00 01 ";

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

/// Of a packet or a blob.
template <class Item>
std::string ToHex(const Item& item)
{
    return ToHex(Payload(item));
}

inline SP<const IBlob> MakeBlob(const std::string& hex)
{
    return MakeBlob(Hex(hex));
}

inline SP<DataPacketFF> MakePacket(const Bytes& payload, avTime pts = NoTime, avTime dts = NoTime, avTime duration = 0)
{
    return CreateFakePacket({.pts = pts, .duration = duration, .dts = dts}, MediaType::Video, &payload);
}

/// A packet of those bytes with PTS 40, DTS 20 and duration 10.
inline SP<IDataPacket> MakeVideoPacket(const std::string& hex, bool key)
{
    const Bytes payload = Hex(hex);
    return CreateFakePacket({.pts = 40, .duration = 10, .dts = 20, .key = key}, MediaType::Video, &payload);
}

/// The text of what a call throws; "" when it throws nothing.
template <class Call>
std::string Failure(const Call& call)
{
    return TextOf<std::exception>(call);
}

/// What the call gives as text: of a packet or blob its bytes, or the text of what it throws.
template <class Call>
std::string ResultOf(const Call& call)
{
    std::string result;
    const std::string failure = Failure(
        [&]
        {
            if constexpr (requires { std::to_string(call()); })
                result = std::to_string(call());
            else
                result = ToHex(*call());
        });
    return result + failure;
}

/// The units that a call finds as "[65 88]|[41]", an empty one as "[]", and after them the text of what it throws.
template <class Find>
std::string UnitsOf(const std::string& hex, const Find& find)
{
    const Bytes bytes = Hex(hex);
    std::vector<Nalu> units;
    const std::string failure = Failure([&] { find(bytes.data(), bytes.size(), units); });
    std::string text;
    for (const auto& [data, size] : units)
        text += (text.empty() ? "[" : "|[") + ToHex(data, size) + "]";
    return text + failure;
}

/// What the call gives for the text in each first column has to be the text in the second.
template <class Call>
void CheckRows(const Call& call, const std::vector<std::pair<std::string, std::string>>& rows)
{
    for (const auto& [argument, expected] : rows)
        EXPECT_EQ(call(argument), expected) << argument;
}

/// What becomes of a packet that may get the extradata in front: "" where it stays the same.
inline std::string Headed(SP<IDataPacket> (*add)(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata),
                          const std::string& payload, const std::string& extradata, bool key = true)
{
    const SP<IDataPacket> packet = MakeVideoPacket(payload, key);
    EXPECT_EQ(add(packet, nullptr), packet);
    EXPECT_EQ(add(nullptr, MakeBlob(extradata)), nullptr);
    SP<IDataPacket> result;
    const std::string failure = Failure([&] { result = add(packet, MakeBlob(extradata)); });
    return !result || result == packet ? failure : ToHex(*result);
}

template <class Record>
using Decode = void (*)(const uint8_t* data, size_t size, Record& record);

template <class Record>
Record Read(Decode<Record> decode, const Bytes& data)
{
    Record record;
    decode(data.data(), data.size(), record);
    return record;
}

/// Calls with every proper beginning of the data, each in memory of its own size so that AddressSanitizer sees
/// over-reading, and gives the lengths at which the call throws nothing.
template <class Call>
std::vector<size_t> CompleteLengths(const Bytes& data, const Call& call)
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

/// Which of the fields make two records unequal, "01..." in their order.
template <class Record, class... Field>
std::string Compared(Field Record::*... fields)
{
    std::string text;
    const auto compare = [&](auto field)
    {
        Record other;
        other.*field ^= 1;
        text += other.EqualTo(Record()) ? '0' : '1';
    };
    (compare(fields), ...);
    return text;
}

} // namespace Tessor::Test
