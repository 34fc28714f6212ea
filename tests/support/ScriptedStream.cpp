#include "tests/support/ScriptedStream.h"

namespace Tessor::Test
{

using namespace Proc;

SP<ScriptedRaw> ScriptedRaw::Create(const std::string& text, MediaType type, const std::string& codecId)
{
    SP<Conf::IFormatCodec> format = Conf::IFormatCodecVideo::Create();
    if (type == MediaType::Audio)
        format = Conf::IFormatCodecAudio::Create();
    format->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, codecId);
    return SP<ScriptedRaw>(new ScriptedRaw(text, type, format));
}

SP<IDataPacket> ScriptedRaw::MakeItem(const ScriptItem& item) const
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
