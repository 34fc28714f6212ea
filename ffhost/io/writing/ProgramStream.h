#pragma once

#include "Fnd/Export.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

struct AVCodecParameters;
struct AVIOContext;
struct AVPacket;

namespace Tessor::Host
{

/// Writes an MPEG-2 program stream (ISO/IEC 13818-1), with the private streams of DVD-Video. Other than libavformat's
/// multiplexer it begins a PES packet with every picture and every packet of sound, so that each has times of its own.
///
/// A pack is as large as what is in it, at most 2048 bytes. Its clock keeps the decoders' buffers from running over
/// and never passes the decoding time of what the pack carries.
class TESSOR_API ProgramStream
{
public:
    explicit ProgramStream(AVIOContext& output) : output(output) {}

    /// The tracks in the order of their stream_index, before the first packet.
    void AddTrack(const AVCodecParameters& parameters);
    /// Takes packets in the order of their decoding times, ticks of 1/90000 s, none earlier than GetLead().
    void Write(const AVPacket& packet);
    void Finish();

    /// How long before its decoding the first packet arrives, in microseconds.
    static int64_t GetLead();

private:
    struct Pending
    {
        int64_t dts;
        int size;
    };
    struct Track
    {
        int id, substream; // substream: 0 where the id says it all
        int codec;
        int bufferSize;             // of the decoder, bytes
        std::vector<uint8_t> intro; // what private streams put in front of their data
        std::deque<Pending> buffer; // what the decoder has not taken yet
        int buffered = 0;           // bytes of that
    };

    void WritePack(Track& track, const AVPacket& packet, int offset, int size);
    void Advance(const AVPacket& packet, Track& track, int size);
    /// Of the multiplex, bytes a second.
    int64_t Rate() const;
    void PutPackHeader();
    void PutSystemHeader();
    void PutPesHeader(const Track& track, const AVPacket& packet, bool first, size_t payload);
    void PutTime(unsigned mark, int64_t time);
    void Put(uint64_t value, int bytes);

    AVIOContext& output;
    std::vector<Track> tracks;
    int64_t bitRate = 0;           // of all tracks
    std::optional<int64_t> clock;  // of the pack written last
    std::optional<int64_t> newest; // when that will have arrived
    std::vector<uint8_t> pack;     // being put together
};

} // namespace Tessor::Host
