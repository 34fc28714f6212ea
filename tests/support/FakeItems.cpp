#include "tests/support/FakeItems.h"

#include "media/FFmpegCompat.h"
#include "media/items/DataVideoFF.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <algorithm>

namespace Tessor::Test
{

SP<Proc::IDataVideo> CreateFrame(const ScriptItem& item, FrameAllocType memory)
{
    const SP<Proc::DataVideoFF> frame = Proc::DataVideoFF::Create(PixFmt::GRAY8, {16, 8}, nullptr);
    FFmpeg::SetInterlaced(*frame->GetAVFrame(), item.interlaced);
    frame->SetPTS(item.pts);
    frame->SetDuration(item.duration);
    for (size_t y = 0; y < 8; ++y)
        std::fill_n(frame->GetPlane(0).GetOffsetPtr(0, y), 16, static_cast<uint8_t>(item.value));
    if (memory == FRAME_ALLOC_CPU && !item.fixed)
        return frame;
    return SP<Proc::IDataVideo>(new FakeFrame(frame, memory, item.fixed));
}

SP<Proc::DataAudioFF> CreateBlock(const ScriptItem& item, const Conf::SampleInfo& info)
{
    const avTime known = item.duration == NoTime ? 0 : item.duration;
    const auto count = static_cast<int>(av_rescale(known, info.GetSampleRate(), 1000000));
    const SP<Proc::DataAudioFF> block = Proc::DataAudioFF::CreateBySampleCount(info, count);
    std::fill_n(reinterpret_cast<int16_t*>(block->GetAudioRef().data), count * info.GetChannelCount(),
                static_cast<int16_t>(item.value));
    block->SetPTS(item.pts);
    block->SetDuration(item.duration);
    return block;
}

SP<Proc::DataPacketFF> CreateFakePacket(const ScriptItem& item, MediaType type, const Bytes* payload)
{
    const auto value = static_cast<uint32_t>(item.value);
    const Bytes bytes =
        payload ? *payload : Bytes{uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
    AVPacket* record = Proc::CreatePacket(bytes.size());
    if (!record)
        throw std::bad_alloc();
    std::copy(bytes.begin(), bytes.end(), record->data);
    record->flags = item.key ? AV_PKT_FLAG_KEY : 0;
    const SP<Proc::DataPacketFF> packet = Proc::DataPacketFF::Create(record, type, item.pts, item.dts, item.duration);
    if (item.position != NoTime)
        packet->SetPosition(item.position);
    return packet;
}

ScriptItem DescribeItem(Proc::IData& item)
{
    ScriptItem result;
    result.pts = item.GetPTS();
    result.duration = item.GetDuration();
    if (const auto packet = dynamic_cast<Proc::IDataPacket*>(&item))
    {
        result.key = packet->IsKeyFrame();
        result.dts = packet->GetDTS();
        for (int i = 0; i < std::min(packet->GetSize(), 4); ++i)
            result.value = result.value << 8 | packet->GetData()[i];
    }
    else if (const auto video = dynamic_cast<Proc::IDataVideo*>(&item))
        result.value = *video->GetPlane(0).GetOffsetPtr(0, 0);
    else if (const auto audio = dynamic_cast<Proc::IDataAudio*>(&item))
    {
        const bool shorts = audio->GetSampleInfo().GetFormat().bits == 16 && audio->GetSampleCount() > 0;
        result.value = shorts ? *reinterpret_cast<const int16_t*>(audio->GetConstAudioRef().data) : 0;
    }
    return result;
}

} // namespace Tessor::Test
