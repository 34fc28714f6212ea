#include "ffhost/io/Damage.h"

#include <algorithm>

namespace Tessor::Host
{

void Damage::Join(const Damage& other)
{
    packets += other.packets;
    after = after == NoTime || (other.after != NoTime && other.after < after) ? other.after : after;
    promised = std::max(promised, other.promised);
}

} // namespace Tessor::Host
