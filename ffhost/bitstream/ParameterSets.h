#pragma once

#include "Proc/CodecParsers/Nal/Nalu.h"
#include "media/items/DataPacketFF.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tessor::Host
{

/// The parameter sets in force in a stream of H.264 or HEVC: those of its header until packets bring others of the same
/// identifier (7.4.1.2.1 of ITU-T H.264, 7.4.2.4.2 of H.265). Follows nothing in streams of other codecs and without a
/// header, which tells how packets are framed.
///
/// There is one follower for each order of packets: PacketPump's goes along with the source, whose packets a cut leaves
/// out or has encoded anew, and FramedTrack's with what is left to be written.
class ParameterSets
{
public:
    ParameterSets(const std::string& codecId, const SP<const Proc::IBlob>& header);

    bool AreKnown() const { return known; }
    /// Why the header tells neither sets nor framing; empty where it is good, or of another codec.
    const std::string& GetFault() const { return fault; }
    /// All that a decoder needs is in force.
    bool AreComplete() const;
    bool AreBehindStartCodes() const { return known && lengthSize == 0; }
    /// The container says with the packet that another header holds from here on.
    static bool HasNewHeader(const Proc::IDataPacket& packet);
    /// Takes that header off, for a writer would apply it to the whole file.
    static void RemoveNewHeader(const Proc::IDataPacket& packet);

    /// Which of the sets in force a packet carries itself, before its first slice.
    enum class Carried
    {
        None,
        Some,
        All,
    };
    /// Takes over what the packet brings. Throws Exception for a new header of the container that is malformed.
    Carried Follow(const Proc::IDataPacket& packet);
    /// Whether a decoder that enters with the packet, which was followed last, would look for sets in vain: neither the
    /// packet nor the stream's header has them.
    bool AreMissed(const Proc::IDataPacket& packet, Carried carried) const
    {
        return carried != Carried::All && changed && packet.IsKeyFrame();
    }
    /// Goes back to the sets of the header that the stream began with.
    void Rewind();
    /// Grows with each change of what is in force.
    unsigned GetVersion() const { return version; }
    /// Other sets than those of the stream's header are or were in force, so that these hold only where they are met
    /// again.
    bool HaveChanged() const { return changed; }
    /// The stream's header with the sets in force, in its own form. Throws what the header conversions do.
    SP<const Proc::IBlob> MakeHeader() const;
    /// A new packet with the sets in force in front, in place of a new header. Throws Exception for a set that is
    /// too long for the framing.
    SP<Proc::DataPacketFF> Prepend(const SP<Proc::IDataPacket>& packet) const;

private:
    using Nalu = Proc::CodecParsers::Nalu;
    using Bytes = std::vector<uint8_t>;
    using Key = std::pair<uint32_t, uint32_t>; // type and identifier
    using Sets = std::map<Key, Bytes>;

    bool IsParameterSet(uint32_t type) const;
    uint32_t TypeOf(const Nalu& unit) const;
    uint32_t IdentifierOf(const Nalu& unit) const;
    void Restart(const Proc::IBlob& header);
    size_t LengthSizeOf(const Proc::IBlob& header) const;
    std::vector<Nalu> FindHeadSets(const Proc::IDataPacket& packet) const;
    Sets Identify(const std::vector<Nalu>& units) const;
    void TakeOver(const Sets& brought);
    bool RefersToAny(const Bytes& pictureSet, const std::set<uint32_t>& sequences) const;
    void Append(const Bytes& unit, Bytes& to) const;

    bool known = false; // codec and framing
    std::string fault;  // of the header that the stream began with
    bool hevc = false;
    size_t lengthSize = 0; // of the units in packets, 0: start codes
    Sets original;         // of the header that the stream began with
    Sets inForce;
    std::vector<Bytes> messages; // what else the header holds
    unsigned version = 0;        // of `inForce`
    bool changed = false;        // since the beginning
};

} // namespace Tessor::Host
