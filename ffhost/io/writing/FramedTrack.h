#pragma once

#include "Proc/StreamTemplates/IStreamRawEx.h"
#include "ffhost/io/writing/Muxer.h"

namespace Tessor::Host
{

class PacketGate;

/// A track's packets in the framing of the container that they go to: whoever fills a track of a muxer pulls from here
/// and adds the track with GetFormatCodec.
///
/// The key flag that the demuxer hides from cuts on the last packet of a track (PacketFacts::hiddenKey) is back, so
/// that this one gets its parameter sets, too. Key packets can be entered after parameter sets that have changed
/// within the stream. Packets that can't be framed are left out and counted.
class TESSOR_API FramedTrack
{
public:
    /// `format` is that of the stream's packets, with the header that they go by. Throws what
    /// Proc::FilterBitStream::Create does.
    FramedTrack(const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format, const Muxer& muxer,
                const TrackInfo& info);
    ~FramedTrack();
    FramedTrack(FramedTrack&&) noexcept;
    FramedTrack& operator=(FramedTrack&&) noexcept;

    /// The next packet that could be framed; null at the end of the stream only. Throws Core::IOException "FILE: cause"
    /// for sound that changes its configuration where the framing says but one.
    SP<Proc::IDataPacket> Read();
    SP<Conf::IFormatCodec> GetFormatCodec() const { return framed->GetFormatCodec(); }
    Core::Property GetStatistic() const { return framed->GetStatistic(); }
    void RequestSeek(avTime target) { framed->RequestSeek(target, nullptr); }
    void DoSeek() { framed->DoSeek(); }
    /// Packets left out so far.
    long long GetDamagedCount() const { return damaged; }

private:
    SP<PacketGate> gate; // in front of the conversion
    SP<Proc::IStreamRawEx> framed;
    long long damaged = 0;
};

} // namespace Tessor::Host
