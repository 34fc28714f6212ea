#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"

#include <deque>

namespace Tessor::Test
{

/// A source of packets that exist beforehand: for programs that time or try millions of reads, without the script and
/// the log of ScriptedStream. It can't seek.
class PacketSource final : public Proc::IStreamRaw, public RefCountImpl
{
public:
    explicit PacketSource(MediaType type, const SP<Conf::IFormatCodec>& format = nullptr) : type(type), format(format)
    {
    }

    std::deque<SP<Proc::IDataPacket>> packets; // not yet read, or all of them in an endless source
    bool endless = false;

private:
    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return NoTime; }
    avTime GetPosition() override { return NoTime; }
    SP<Proc::IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime, SP<Proc::IStream>) override {}
    void DoSeek() override {}
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override { return Core::Property(); }
    void Terminate() override {}
    bool IsTerminated() const override { return false; }
    void ReleaseInternalData() override {}
    void Accept(Proc::IStreamVisitor&) override {}
    SP<Proc::IDataPacket> Read() override
    {
        if (packets.empty())
            return nullptr;
        if (endless)
            return packets[next++ % packets.size()];
        SP<Proc::IDataPacket> packet = std::move(packets.front());
        packets.pop_front();
        return packet;
    }
    MediaType GetMediaType() const override { return type; }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return format; }

    const MediaType type;
    const SP<Conf::IFormatCodec> format;
    size_t next = 0; // reads of an endless source so far
};

} // namespace Tessor::Test
