#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/MediaInfo.h"

#include <cstddef>
#include <cstdint>

struct AVPacket;

namespace Tessor::Host
{

/// Gives packets of video the key flag that their own bytes tell, for containers tell it wrongly both ways: MP4 without
/// a table of key pictures flags all. A picture of H.264 that is no instantaneous refresh is a key by its recovery
/// point message only, and where that is the mere beginning of an intra refresh it is none: a decoder that starts there
/// shows damage until recovery_frame_cnt pictures have passed (ITU-T H.264, D.2.8). What can't be read, and codecs
/// whose first bytes don't tell, stay as their container flags them.
class TESSOR_API KeyPictures
{
public:
    explicit KeyPictures(const TrackInfo& track);

    /// To be given every packet of the track, as libavformat delivers it.
    void Check(AVPacket& packet);
    /// The file was moved. From its beginning on a refresh that the container flags stays a key, as long as nothing
    /// better has come.
    void Reset(bool atStart) { first = atStart; }

private:
    enum class Kind
    {
        Unknown,
        Key,
        Refresh, // begins at this picture
        Other,
    };
    struct Bytes
    {
        const uint8_t* data;
        size_t size;

        bool Bit(size_t index) const { return data[index / 8] >> (7 - index % 8) & 1; }
    };
    using Look = Kind (KeyPictures::*)(const Bytes&) const;

    static Look FindLook(const TrackInfo& track);
    static Kind KeyWhere(bool key) { return key ? Kind::Key : Kind::Other; }
    void ReadHeader(const TrackInfo& track);
    Kind LookAt(const AVPacket& packet) const;

    /// Without a header only packets of start codes tell their framing.
    bool IsFramed(const Bytes& packet) const;
    Kind LookAtH264(const Bytes& packet) const;
    Kind LookAtHEVC(const Bytes& packet) const;
    Kind LookAtMPEG12(const Bytes& packet) const;
    Kind LookAtMPEG4(const Bytes& packet) const;
    Kind LookAtH263(const Bytes& packet) const;
    Kind LookAtVP8(const Bytes& packet) const;
    Kind LookAtVP9(const Bytes& packet) const;
    Kind LookAtTheora(const Bytes& packet) const;
    Kind LookAtWMV2(const Bytes& packet) const;
    Kind LookAtMSMPEG4(const Bytes& packet) const;

    const Look look;            // null: the container is believed
    bool framed = false;        // H.264 and HEVC: the header tells how packets are framed
    size_t lengthSize = 0;      // the same: of the units in packets, 0: start codes
    bool fewReferences = false; // H.264: pictures refer to the one before at most, and an intra one parts them
    bool first = true;          // no key has come since the beginning of the file
};

} // namespace Tessor::Host
