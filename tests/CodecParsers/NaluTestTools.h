#pragma once

#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "tests/CodecParsers/HeaderTools.h"

#include <sstream>

namespace Tessor::Test
{

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

/// Units as "65 88|41", an empty one as "".
template <class Units>
std::string ToHex(const Units& units)
{
    std::string text;
    for (const auto& [data, size] : units)
        text += (text.empty() ? "[" : "|[") + ToHex(data, size) + "]";
    return text;
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

inline SP<Proc::IBlob> MakeBlob(const std::string& hex)
{
    const Bytes bytes = Hex(hex);
    return Proc::BlobFF::Create(bytes.data(), bytes.size());
}

/// A packet of those bytes with PTS 40, DTS 20 and duration 10.
inline SP<Proc::IDataPacket> MakeVideoPacket(const std::string& hex, bool key)
{
    const SP<Proc::IDataPacket> packet = MakePacket(Hex(hex), 40, 20, 10);
    packet->GetAVPacket()->flags = key ? AV_PKT_FLAG_KEY : 0;
    return packet;
}

inline std::string ToHex(const Proc::IDataPacket& packet)
{
    return ToHex(Payload(packet));
}

inline std::string ToHex(const Proc::IBlob& blob)
{
    return ToHex(Payload(blob));
}

} // namespace Tessor::Test
