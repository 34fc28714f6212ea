#pragma once

#include "Fnd/Export.h"
#include "Fnd/Time.h"

namespace Tessor::Host
{

/// What is wrong with a file, as far as reading has found out.
struct TESSOR_API Damage
{
    long long packets = 0;    ///< that are damaged or could not be placed in time, and places where none could be read
    avTime after = NoTime;    ///< how far the file is whole, counted from its origin; NoTime where all is
    avTime promised = NoTime; ///< how long it is as its container tells, where it ends before; NoTime where it doesn't

    bool IsNone() const { return packets == 0 && promised == NoTime; }
    /// Adds what another reading of the file has found.
    void Join(const Damage& other);
};

} // namespace Tessor::Host
