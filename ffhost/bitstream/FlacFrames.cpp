#include "ffhost/bitstream/FlacFrames.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/crc.h>
#include <libavutil/intreadwrite.h>
}

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

namespace Tessor::Host
{

namespace
{

constexpr int FIXED_HEADER = 4; // bytes before the number
constexpr int FOOTER = 2;       // bytes, CRC-16
constexpr int LONGEST_NUMBER = 7;
constexpr int STREAMINFO = 34; // bytes

/// Where the parts of a frame's header lie.
struct Header
{
    bool numbersSamples; // frames differ in length: the number is that of the first sample
    uint64_t number;
    int numberEnd; // offset
    int end;       // of the header, CRC-8 included
    int samples;   // per channel
};

/// The number's bytes, as UTF-8 is extended to 36 bits.
std::vector<uint8_t> Encode(uint64_t number)
{
    if (number < 0x80)
        return {static_cast<uint8_t>(number)};
    int more = 1; // bytes of six bits after the first one
    while (more < LONGEST_NUMBER - 1 && number >> (6 * more + 6 - more) != 0)
        ++more;
    std::vector<uint8_t> bytes(static_cast<size_t>(more) + 1);
    for (int i = more; i > 0; --i, number >>= 6)
        bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(0x80 | (number & 0x3F));
    bytes[0] = static_cast<uint8_t>((0xFF00 >> (more + 1)) | number);
    return bytes;
}

/// Moves `offset` behind the number; none for bytes that are no such.
std::optional<uint64_t> Decode(const uint8_t* data, int size, int& offset)
{
    const uint8_t first = data[offset++];
    if (first < 0x80)
        return first;
    int more = 0;
    while (more < LONGEST_NUMBER && (first << (more + 1) & 0x80) != 0)
        ++more;
    if (more == 0 || more >= LONGEST_NUMBER || offset + more > size)
        return std::nullopt;
    uint64_t number = first & (0x3F >> more);
    for (int i = 0; i < more; ++i)
        number = number << 6 | (data[offset++] & 0x3F);
    return number;
}

/// Samples of a block by the code in the header; `more`: the bytes that some codes need.
int CountSamples(int code, const uint8_t* more)
{
    switch (code)
    {
    case 1:
        return 192;
    case 6:
        return more[0] + 1;
    case 7:
        return AV_RB16(more) + 1;
    default:
        return code < 6 ? 576 << std::max(code - 2, 0) : 256 << (code - 8);
    }
}

/// None for what is no frame.
std::optional<Header> ReadHeader(const uint8_t* data, int size)
{
    if (size <= FIXED_HEADER || (AV_RB16(data) & 0xFFFE) != 0xFFF8)
        return std::nullopt;
    Header header{(data[1] & 1) != 0, 0, FIXED_HEADER, 0, 0};
    const std::optional<uint64_t> number = Decode(data, size, header.numberEnd);
    const int blockCode = data[2] >> 4, rateCode = data[2] & 0xF;
    const int blockBytes = blockCode == 6 ? 1 : blockCode == 7 ? 2 : 0;
    const int rateBytes = rateCode == 12 ? 1 : rateCode == 13 || rateCode == 14 ? 2 : 0;
    header.end = header.numberEnd + blockBytes + rateBytes + 1;
    if (!number || header.end + FOOTER > size)
        return std::nullopt;
    header.number = *number;
    header.samples = CountSamples(blockCode, data + header.numberEnd);
    return header;
}

/// The packet with other bytes, side data and times as they are.
void Replace(AVPacket& packet, const std::vector<uint8_t>& bytes)
{
    AVBufferRef* const buffer = av_buffer_allocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    if (!buffer)
        throw std::bad_alloc();
    std::memcpy(buffer->data, bytes.data(), bytes.size());
    av_buffer_unref(&packet.buf);
    packet.buf = buffer;
    packet.data = buffer->data;
    packet.size = static_cast<int>(bytes.size());
}

} // namespace

std::pair<int, int> FlacFrames::FindSound(const uint8_t* data, int size)
{
    const std::optional<Header> header = ReadHeader(data, size);
    return header ? std::pair(header->end, size - FOOTER) : std::pair(0, size);
}

void FlacFrames::Number(AVPacket& packet)
{
    const std::optional<Header> header = ReadHeader(packet.data, packet.size);
    if (!header)
        return;
    const uint64_t number = header->numbersSamples ? samples : frames;
    ++frames;
    samples += static_cast<uint64_t>(header->samples);
    if (number == header->number)
        return;
    renumbered = true;
    std::vector<uint8_t> frame(packet.data, packet.data + FIXED_HEADER);
    const std::vector<uint8_t> name = Encode(number);
    frame.insert(frame.end(), name.begin(), name.end());
    frame.insert(frame.end(), packet.data + header->numberEnd, packet.data + header->end - 1);
    frame.push_back(static_cast<uint8_t>(av_crc(av_crc_get_table(AV_CRC_8_ATM), 0, frame.data(), frame.size())));
    frame.insert(frame.end(), packet.data + header->end, packet.data + packet.size - FOOTER);
    const uint32_t sum = av_crc(av_crc_get_table(AV_CRC_16_ANSI), 0, frame.data(), frame.size());
    frame.push_back(static_cast<uint8_t>(sum));
    frame.push_back(static_cast<uint8_t>(sum >> 8));
    Replace(packet, frame);
}

// RFC 9639, 8.2: sizes of blocks, sizes of frames (0: unknown), rate, channels, bits, samples in 36 bits, MD5 (0:
// none).
std::vector<uint8_t> FlacFrames::MakeStreamInfo(const uint8_t* source, int size) const
{
    if (size != STREAMINFO)
        return {};
    std::vector<uint8_t> info(source, source + size);
    std::fill(info.begin() + 4, info.begin() + 10, 0);
    info[13] = static_cast<uint8_t>((info[13] & 0xF0) | (samples >> 32 & 0xF));
    AV_WB32(info.data() + 14, static_cast<uint32_t>(samples));
    std::fill(info.begin() + 18, info.end(), 0);
    return info;
}

} // namespace Tessor::Host
