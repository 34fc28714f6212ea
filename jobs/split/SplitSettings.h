#pragma once

#include "jobs/cut/CutSettings.h"

namespace Tessor::Jobs
{

/// A file a piece: for each range that is kept, or, where none is given, by one of size, time and chapters.
struct SplitSettings
{
    CutSettings cut;       ///< its output is a pattern, as NamePieces takes it
    long long size = 0;    ///< bytes that a piece has at most; one group of pictures may be larger
    avTime time = 0;       ///< a piece ends at the first key picture after it
    bool chapters = false; ///< a piece begins at the last key picture at or before a chapter
};

} // namespace Tessor::Jobs
