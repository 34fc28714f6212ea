#include "ffhost/io/reading/AmrBlock.h"

extern "C"
{
#include <libavcodec/codec_id.h>
#include <libavcodec/packet.h>
}

#include <array>
#include <new>

namespace Tessor::Host
{

namespace
{

using Sizes = std::array<int, 16>;

// speech, comfort noise, no data (3GPP TS 26.101, tables 1a and 2)
constexpr Sizes NARROW_BAND = {13, 14, 16, 18, 20, 21, 27, 32, 6, 0, 0, 0, 0, 0, 0, 1};
// speech, comfort noise, lost speech, no data (3GPP TS 26.201, tables 1a and 2)
constexpr Sizes WIDE_BAND = {18, 24, 33, 37, 41, 47, 51, 59, 61, 6, 0, 0, 0, 0, 1, 1};

} // namespace

int AmrBlock::SizeOf(unsigned type) const
{
    return codec == AV_CODEC_ID_AMR_NB ? NARROW_BAND[type] : codec == AV_CODEC_ID_AMR_WB ? WIDE_BAND[type] : 0;
}

std::vector<PacketPtr> AmrBlock::Split(const AVPacket& packet, bool& damaged) const
{
    std::vector<PacketPtr> frames;
    damaged = false;
    for (int at = 0; at < packet.size;)
    {
        const int size = SizeOf(packet.data[at] >> 3 & 15u);
        damaged = size == 0 || size > packet.size - at;
        if (damaged)
            break;
        PacketPtr frame(av_packet_clone(&packet));
        if (!frame)
            throw std::bad_alloc();
        // what is said of the block is said of its beginning
        if (at > 0)
            av_packet_free_side_data(frame.get());
        frame->data += at;
        frame->size = size;
        frames.push_back(std::move(frame));
        at += size;
    }
    return frames;
}

} // namespace Tessor::Host
