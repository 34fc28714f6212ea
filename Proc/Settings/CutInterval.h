#pragma once

#include "Fnd/Time.h"

namespace Tessor::Proc
{

/// A stretch of source time that a cut keeps or deletes; half-open.
struct CutInterval
{
    avTime start = 0;
    avTime end = 0;
    avTime shift = NoTime; ///< carried along
    bool deleted = false;

    bool operator==(const CutInterval&) const = default;
};

} // namespace Tessor::Proc
