#include "ffhost/io/writing/Interleaver.h"

extern "C"
{
#include <libavcodec/packet.h>
#include <libavutil/mathematics.h>
}

namespace Tessor::Host
{

int Interleaver::AddTrack(const TrackSetup& setup)
{
    tracks.push_back(Track{setup});
    return static_cast<int>(tracks.size()) - 1;
}

void Interleaver::Push(int track, PacketPtr packet)
{
    packet->stream_index = track;
    tracks.at(static_cast<size_t>(track)).queue.push_back(std::move(packet));
}

void Interleaver::EndTrack(int track)
{
    tracks.at(static_cast<size_t>(track)).open = false;
}

bool Interleaver::IsReady() const
{
    bool any = false;
    for (const Track& track : tracks)
    {
        if (track.open && !track.setup.sparse && track.queue.empty())
            return false;
        any |= !track.queue.empty();
    }
    return any;
}

PacketPtr Interleaver::Pull()
{
    if (!IsReady())
        return nullptr;
    Track* first = nullptr;
    for (Track& track : tracks)
        if (!track.queue.empty() && (!first || IsBefore(track, *first)))
            first = &track;
    PacketPtr packet = std::move(first->queue.front());
    first->queue.pop_front();
    return packet;
}

bool Interleaver::IsBefore(const Track& a, const Track& b) const
{
    const int order = av_compare_ts(a.queue.front()->dts, a.setup.timeBase, b.queue.front()->dts, b.setup.timeBase);
    return order < 0 || (order == 0 && a.setup.rank < b.setup.rank);
}

} // namespace Tessor::Host
