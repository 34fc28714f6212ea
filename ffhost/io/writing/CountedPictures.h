#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/PacketPtr.h"

#include <cstdint>
#include <deque>
#include <set>

struct AVCodecParameters;

namespace Tessor::Host
{

/// Gives decoding times to the pictures of a container that counts them and tells no presentation times: those by which
/// readers find the places where pictures are shown (see DisplayOrder). The source's would not do: where a cut drops
/// the pictures that lead a key picture they leave a hole, which readers take for a picture that stands still.
class TESSOR_API CountedPictures
{
public:
    explicit CountedPictures(const AVCodecParameters& parameters);

    void Push(PacketPtr packet);
    /// The next packet, null while more have to be seen first.
    PacketPtr Pull();
    /// No more packets come: Pull hands out what is left.
    void End() { ended = true; }

private:
    int64_t TakeTime();

    const int64_t depth;          // by how many pictures decoding runs ahead
    const bool ordered;           // readers go by the display order that pictures tell, otherwise by their types
    std::deque<PacketPtr> window; // packets that have no decoding time yet
    std::multiset<int64_t> shown; // presentation times that no packet was decoded at yet
    std::deque<int64_t> delayed;  // the next decoding times, `depth` of them from the first packet on, unless `ordered`
    bool ended = false;           // no more packets come
};

} // namespace Tessor::Host
