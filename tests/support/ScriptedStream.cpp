#include "tests/support/ScriptedStream.h"

namespace Tessor::Test
{

namespace
{

SP<Conf::IFormatCodecVideo> MakeVideoFormat(int width, int height)
{
    const SP<Conf::IFormatCodecVideo> format = Conf::IFormatCodecVideo::Create();
    format->InitByPixelAspect(static_cast<unsigned>(width), static_cast<unsigned>(height), 1, 1);
    format->SetPixelFormat(PixFmt::GRAY8);
    return format;
}

SP<Conf::IFormatCodecAudio> MakeAudioFormat(const Conf::SampleInfo& info)
{
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo(info);
    return format;
}

SP<Conf::IFormatCodec> MakeRawFormat(MediaType type, const std::string& codecId)
{
    SP<Conf::IFormatCodec> format;
    if (type == MediaType::Audio)
        format = Conf::IFormatCodecAudio::Create();
    else if (type == MediaType::Subtitle)
        format = Conf::IFormatCodecSubtitle::Create();
    else
        format = Conf::IFormatCodecVideo::Create();
    format->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, codecId);
    return format;
}

} // namespace

SP<ScriptedVideo> ScriptedVideo::Create(const std::string& text, int width, int height)
{
    return SP<ScriptedVideo>(new ScriptedVideo(text, width, height));
}

ScriptedVideo::ScriptedVideo(const std::string& text, int width, int height)
    : ScriptedStream(text, MakeVideoFormat(width, height)), width(width), height(height)
{
}

SP<Proc::IDataVideo> ScriptedVideo::MakeItem(const ScriptItem& item) const
{
    return FakeVideo::Create(item, width, height);
}

SP<ScriptedAudio> ScriptedAudio::Create(const std::string& text, int rate, Conf::ChannelLayout layout)
{
    return SP<ScriptedAudio>(new ScriptedAudio(text, Conf::SampleInfo(Conf::SampleFormats::S16, rate, layout)));
}

ScriptedAudio::ScriptedAudio(const std::string& text, const Conf::SampleInfo& info)
    : ScriptedStream(text, MakeAudioFormat(info)), info(info)
{
}

SP<Proc::IDataAudio> ScriptedAudio::MakeItem(const ScriptItem& item) const
{
    return FakeAudio::Create(item, info.GetSampleRate(), info.GetChannelLayout());
}

SP<ScriptedSubtitle> ScriptedSubtitle::Create(const std::string& text)
{
    return SP<ScriptedSubtitle>(new ScriptedSubtitle(text));
}

ScriptedSubtitle::ScriptedSubtitle(const std::string& text) : ScriptedStream(text, Conf::IFormatCodecSubtitle::Create())
{
}

SP<ScriptedRaw> ScriptedRaw::Create(const std::string& text, MediaType type, const std::string& codecId)
{
    return SP<ScriptedRaw>(new ScriptedRaw(text, type, MakeRawFormat(type, codecId)));
}

ScriptedRaw::ScriptedRaw(const std::string& text, MediaType type, const SP<Conf::IFormatCodec>& format)
    : ScriptedStream(text, format), type(type)
{
}

SP<Proc::IDataPacket> ScriptedRaw::MakeItem(const ScriptItem& item) const
{
    ScriptItem packet = item;
    packet.key = IsKey(item);
    const auto payload = payloads.find(item.value);
    return CreateFakePacket(packet, type, payload == payloads.end() ? nullptr : &payload->second);
}

size_t ScriptedRaw::FindSeekPlace(avTime target) const
{
    size_t place = 0;
    for (size_t i = 0; i < script.size(); ++i)
        if (IsKey(script[i]) && script[i].pts <= target)
            place = i;
    return place;
}

} // namespace Tessor::Test
