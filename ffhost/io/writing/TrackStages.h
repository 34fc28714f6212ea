#pragma once

#include "ffhost/io/Container.h"
#include "ffhost/io/PacketPtr.h"

#include <memory>
#include <string>

namespace Tessor::Host
{

/// Where the ways of all tracks end.
class IPacketSink
{
public:
    virtual ~IPacketSink() = default;
    /// Hands a packet to the container.
    virtual void Hand(AVPacket& packet) = 0;
    /// What the container has gathered goes out: no packet shares a group with one that came before.
    virtual void Flush() = 0;
    /// Throws: the container can't have what comes.
    virtual void Refuse(const std::string& cause) = 0;
};

/// One of the stages that the packets of a track pass on their way to the container, in decoding order and with the
/// file's shift. Each is put in for something that a container leaves to its caller.
class PacketStage
{
public:
    virtual ~PacketStage() = default;
    virtual void Push(PacketPtr packet) = 0;
    /// No more packets come: what waits goes on.
    virtual void Finish() = 0;
};

/// Whether the container has no times for the sound of this stream but those that its samples or packets make up. Its
/// packets come in microseconds, all others in the stream's ticks.
bool IsCountedSound(const Container& container, const AVStream& stream);

/// The first of the stages that the container needs for the track. `parameters` are what it was told of it; they,
/// `stream` and `sink` outlive the stages.
std::unique_ptr<PacketStage> MakeTrackStages(const Container& container, const TrackInfo& source,
                                             const AVCodecParameters& parameters, AVStream& stream, IPacketSink& sink);

} // namespace Tessor::Host
