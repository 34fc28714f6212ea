#include "tests/support/FakeItems.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <stdexcept>

namespace Tessor::Test
{

template <class Interface>
void FakeItem<Interface>::CheckTrim(avTime amount) const
{
    if (fixed || amount < 0 || amount >= duration)
        Throw<Exception>(TESSOR_HERE, "A fake item can't be trimmed");
}

template class FakeItem<Proc::IDataVideo>;
template class FakeItem<Proc::IDataAudio>;
template class FakeItem<Proc::IDataSubtitle>;

SP<FakeVideo> FakeVideo::Create(const ScriptItem& item, int width, int height)
{
    return SP<FakeVideo>(new FakeVideo(item, width, height));
}

FakeVideo::FakeVideo(const ScriptItem& item, int width, int height)
    : FakeItem(item), width(width), height(height),
      pixels(static_cast<size_t>(width) * height, static_cast<uint8_t>(item.value))
{
}

Proc::Details::PlaneTemplate<false> FakeVideo::GetPlane(int index)
{
    if (index != 0)
        Throw<std::out_of_range>(TESSOR_HERE, "no such plane");
    return {pixels.data(), width, static_cast<size_t>(width), static_cast<size_t>(height)};
}

Proc::Details::PlaneTemplate<true> FakeVideo::GetPlane(int index) const
{
    if (index != 0)
        Throw<std::out_of_range>(TESSOR_HERE, "no such plane");
    return {pixels.data(), width, static_cast<size_t>(width), static_cast<size_t>(height)};
}

SP<Proc::IDataVideo> FakeVideo::Clone(int) const
{
    return SP<Proc::IDataVideo>(new FakeVideo(*this));
}

void FakeVideo::Fill(const Color&)
{
    std::fill(pixels.begin(), pixels.end(), uint8_t(0));
}

SP<FakeAudio> FakeAudio::Create(const ScriptItem& item, int rate, Conf::ChannelLayout layout)
{
    return SP<FakeAudio>(new FakeAudio(item, Conf::SampleInfo(Conf::SampleFormats::S16, rate, layout)));
}

FakeAudio::FakeAudio(const ScriptItem& item, const Conf::SampleInfo& info) : FakeItem(item), info(info)
{
    samples.assign(item.duration == NoTime ? 0 : CountValues(item.duration), static_cast<int16_t>(item.value));
}

size_t FakeAudio::CountValues(avTime time) const
{
    return static_cast<size_t>(av_rescale(time, info.GetSampleRate(), 1000000) * info.GetChannelCount());
}

void FakeAudio::TrimStart(avTime amount)
{
    FakeItem::TrimStart(amount);
    samples.erase(samples.begin(), samples.begin() + std::min(CountValues(amount), samples.size()));
}

void FakeAudio::TrimEnd(avTime amount)
{
    FakeItem::TrimEnd(amount);
    samples.resize(samples.size() - std::min(CountValues(amount), samples.size()));
}

int FakeAudio::GetSampleCount() const
{
    return static_cast<int>(samples.size()) / info.GetChannelCount();
}

Proc::AudioRef FakeAudio::GetAudioRef()
{
    return {GetSampleCount(), info, reinterpret_cast<uint8_t*>(samples.data()), GetMemorySize()};
}

const AVSubtitle& FakeSubtitle::GetAVSubtitle() const
{
    static const AVSubtitle empty{};
    return empty;
}

SP<Proc::DataPacketFF> CreateFakePacket(const ScriptItem& item, MediaType type, const std::vector<uint8_t>* payload)
{
    const auto value = static_cast<uint32_t>(item.value);
    const std::vector<uint8_t> bytes =
        payload ? *payload
                : std::vector<uint8_t>{uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
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

namespace
{

int PayloadValue(const Proc::IDataPacket& packet)
{
    uint32_t value = 0;
    for (int i = 0; i < std::min(packet.GetSize(), 4); ++i)
        value = value << 8 | packet.GetData()[i];
    return static_cast<int>(value);
}

} // namespace

ScriptItem DescribeItem(Proc::IData& item)
{
    ScriptItem result;
    result.pts = item.GetPTS();
    result.duration = item.GetDuration();
    if (const auto packet = dynamic_cast<Proc::IDataPacket*>(&item))
    {
        result.key = packet->IsKeyFrame();
        result.dts = packet->GetDTS();
        if (packet->GetPosition() != (result.pts != NoTime ? result.pts : result.dts))
            result.position = packet->GetPosition();
        result.value = PayloadValue(*packet);
    }
    else if (const auto video = dynamic_cast<Proc::IDataVideo*>(&item))
        result.value = *video->GetPlane(0).GetOffsetPtr(0, 0);
    else if (const auto audio = dynamic_cast<Proc::IDataAudio*>(&item))
    {
        const bool shorts = audio->GetSampleInfo().GetFormat().bits == 16 && audio->GetSampleCount() > 0;
        result.value = shorts ? *reinterpret_cast<const int16_t*>(audio->GetConstAudioRef().data) : 0;
    }
    else if (const auto subtitle = dynamic_cast<FakeSubtitle*>(&item))
        result.value = subtitle->GetValue();
    return result;
}

} // namespace Tessor::Test
