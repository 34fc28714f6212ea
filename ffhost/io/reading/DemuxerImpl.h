#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/io/reading/PacketPump.h"
#include "ffhost/io/reading/TrackStream.h"

#include <boost/thread/mutex.hpp>

namespace Tessor::Host
{

class DemuxerImpl final : public Demuxer, private ITrackOwner, public RefCountImpl
{
public:
    DemuxerImpl(const std::string& path, const DemuxerSettings& settings);

    SP<Demuxer> OpenAgain() const override { return Open(path, settings); }
    const MediaInfo& GetInfo() const override { return info; }
    SP<Proc::IStreamRaw> GetStream(int track) override;
    void SelectSparse(int track) override;
    std::vector<SP<Proc::IDataPacket>> TakeSparse(int track) override;
    void SetCut(const Proc::CutTimeline& cut) override;
    void KeepLeadIns(bool keep) override;
    std::pair<long long, long long> GetProgress() const override;
    Damage GetDamage() const override;
    std::vector<LateStream> GetLateStreams() const override;

private:
    SP<Proc::IDataPacket> Read(int track) override;
    avTime GetPosition(int track) override;
    void RequestSeek(int track, avTime target) override;
    void DoSeek() override;

    struct Reader
    {
        std::unique_ptr<TrackStream> stream;
        avTime position = NoTime;  // end of what was read, NoTime before a first read
        avTime requested = NoTime; // target of a RequestSeek that no DoSeek has followed
        avTime target = NoTime;    // where the pending move goes for this track
    };

    const TrackInfo& FindTrack(int track) const;
    void Survey();
    void Measure();
    void Move();
    bool FillQueue(int track);

    const std::string path;
    const DemuxerSettings settings;
    mutable boost::mutex mutex;
    PacketPump pump;
    MediaInfo info;    // fixed after the constructor
    Damage truncation; // likewise
    std::map<int, Reader> readers;
    bool movePending = false; // a DoSeek came; the file is moved by the next read, so that seeks in a row cost nothing
};

} // namespace Tessor::Host
