#include "ffhost/io/writing/CountedPictures.h"

#include "ffhost/bitstream/PictureParser.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <utility>

namespace Tessor::Host
{

namespace
{

/// Packets that are seen at once: more than any reordering spans.
constexpr size_t LOOK_AHEAD = 16;

} // namespace

CountedPictures::CountedPictures(const AVCodecParameters& parameters)
    : depth(std::max(parameters.video_delay, 0)), ordered(PictureParser(parameters).HasOrder())
{
}

void CountedPictures::Push(PacketPtr packet)
{
    shown.insert(packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts + depth);
    window.push_back(std::move(packet));
}

PacketPtr CountedPictures::Pull()
{
    if (window.empty() || (!ended && window.size() <= LOOK_AHEAD))
        return nullptr;
    PacketPtr packet = std::move(window.front());
    window.pop_front();
    packet->dts = TakeTime();
    return packet;
}

/// The n-th picture is decoded when the n-th is shown, earlier by the depth: in ticks, which readers add again, or in
/// pictures, so that the one after a gap ends it.
int64_t CountedPictures::TakeTime()
{
    const int64_t next = *shown.begin();
    shown.erase(shown.begin());
    if (ordered)
        return next - depth;
    if (delayed.empty())
        for (int64_t i = depth; i > 0; --i)
            delayed.push_back(next - i);
    delayed.push_back(next);
    const int64_t time = delayed.front();
    delayed.pop_front();
    return time;
}

} // namespace Tessor::Host
