#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"

#include <atomic>

namespace Tessor::Host
{

class DemuxerImpl;

/// A track of a file as a stream. It lives in its demuxer and counts on that one's count, so that either keeps both.
class TrackStream final : public Proc::IStreamRaw
{
public:
    TrackStream(DemuxerImpl& owner, int track) : owner(owner), track(track) {}

    long AddRef() const override;
    long GetRefCount() const override;
    long Release() const override;

    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override;
    avTime GetDuration() const override;
    avTime GetPosition() override;
    SP<Proc::IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime target, SP<Proc::IStream> partner) override;
    void DoSeek() override;
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override;
    void Terminate() override { terminated = true; }
    bool IsTerminated() const override { return terminated; }
    void ReleaseInternalData() override {}
    void Accept(Proc::IStreamVisitor& visitor) override;
    SP<Proc::IDataPacket> Read() override;
    MediaType GetMediaType() const override;
    SP<Conf::IFormatCodec> GetFormatCodec() const override;

private:
    DemuxerImpl& owner;
    const int track;
    std::atomic<bool> terminated{false};
};

} // namespace Tessor::Host
