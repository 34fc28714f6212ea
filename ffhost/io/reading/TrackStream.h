#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "ffhost/io/MediaInfo.h"

#include <atomic>

namespace Tessor::Host
{

/// What holds the tracks of a file, and keeps them as long as it lives.
class ITrackOwner : public virtual IRefCountable
{
public:
    virtual const MediaInfo& GetInfo() const = 0;
    virtual SP<Proc::IDataPacket> Read(int track) = 0;
    virtual avTime GetPosition(int track) = 0;
    virtual void RequestSeek(int track, avTime target) = 0;
    virtual void DoSeek() = 0;
};

/// A track of a file as a stream. It lives in its owner and counts on that one's count, so that either keeps both.
class TrackStream final : public Proc::IStreamRaw
{
public:
    TrackStream(ITrackOwner& owner, int track) : owner(owner), track(track) {}

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
    ITrackOwner& owner;
    const int track;
    std::atomic<bool> terminated{false};
};

} // namespace Tessor::Host
