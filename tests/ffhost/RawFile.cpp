#include "tests/ffhost/RawFile.h"

#include "ffhost/io/reading/Demuxer.h"

extern "C"
{
#include <libavformat/avformat.h>
}

namespace Tessor::Host::Tests
{

namespace
{

avTime ToTime(int64_t ticks, AVRational timeBase)
{
    return ticks == AV_NOPTS_VALUE ? NoTime : av_rescale_q(ticks, timeBase, {1, 1000000});
}

} // namespace

RawFile ReadRawFile(const std::string& path)
{
    RawFile file;
    const SP<Demuxer> demuxer = Demuxer::Open(path);
    for (const TrackInfo& info : demuxer->GetInfo().tracks)
        file.tracks.push_back({info, {}});
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0)
        Throw<Core::IOException>(TESSOR_HERE, path + ": can't be read");
    avformat_find_stream_info(context, nullptr);
    AVPacket* packet = av_packet_alloc();
    for (; av_read_frame(context, packet) >= 0; packet = av_packet_alloc())
    {
        const int index = packet->stream_index;
        const AVRational timeBase = context->streams[index]->time_base;
        RawFile::Track& track = file.tracks.at(static_cast<size_t>(index));
        track.packets.push_back(Proc::DataPacketFF::Create(packet, track.info.type, ToTime(packet->pts, timeBase),
                                                           ToTime(packet->dts, timeBase),
                                                           av_rescale_q(packet->duration, timeBase, {1, 1000000})));
        file.order.emplace_back(index, track.packets.back());
    }
    av_packet_free(&packet);
    avformat_close_input(&context);
    return file;
}

} // namespace Tessor::Host::Tests
