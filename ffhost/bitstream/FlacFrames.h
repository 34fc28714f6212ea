#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/PacketPtr.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace Tessor::Host
{

/// Numbers the frames of a FLAC stream from 0 on (RFC 9639, 9.1), where its container tells times by these numbers:
/// readers take those of a part of a stream for its place in the whole.
class TESSOR_API FlacFrames
{
public:
    /// Where the sound of a frame begins and ends, without its header and sums; all of what is no frame.
    static std::pair<int, int> FindSound(const uint8_t* data, int size);

    /// Rewrites the frame where it has another number. What is no frame stays as it is.
    void Number(AVPacket& packet);

    /// Some frame had another number.
    bool AreRenumbered() const { return renumbered; }
    /// The STREAMINFO of the frames numbered so far, after that of the stream they are of: without a digest, which is
    /// of all its samples. Empty for what is none.
    std::vector<uint8_t> MakeStreamInfo(const uint8_t* source, int size) const;

private:
    bool renumbered = false;
    uint64_t frames = 0, samples = 0; // numbered so far
};

} // namespace Tessor::Host
