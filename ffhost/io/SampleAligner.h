#pragma once

#include "media/DataPacketFF.h"

#include <optional>
#include <vector>

struct AVCodecParameters;

namespace Tessor::Host
{

/// Makes the packets of plain samples abut, for containers that count samples instead of timing packets: what is
/// missing is filled with silence, what comes twice is left out. Everything stays at its time to the nearest sample.
class TESSOR_API SampleAligner
{
public:
    /// Nothing for codecs whose packets can't be taken apart.
    static std::optional<SampleAligner> Create(const AVCodecParameters& parameters);

    std::vector<SP<Proc::IDataPacket>> Align(const SP<Proc::IDataPacket>& packet);

private:
    SampleAligner(int rate, int bytes, uint8_t silence) : rate(rate), bytes(bytes), silence(silence) {}

    SP<Proc::IDataPacket> MakePacket(const uint8_t* data, int64_t samples);
    avTime Reached() const;

    int rate;
    int bytes; // of a sample of all channels
    uint8_t silence;
    avTime start = NoTime; // of the first packet since time was counted
    int64_t written = 0;   // samples since then
};

} // namespace Tessor::Host
