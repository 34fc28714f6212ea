#pragma once

#include "Fnd/Time.h"

#include <string>
#include <vector>

namespace Tessor::Test
{

inline constexpr avTime ms = 1000;

/// One item of a scripted stream, or a place where reading fails.
struct ScriptItem
{
    avTime pts = NoTime;
    avTime duration = NoTime;
    avTime dts = NoTime;      ///< packets only
    avTime position = NoTime; ///< packets only; NoTime: none was set
    int value = 0;            ///< picture, sample value or payload; the item's index where none is given
    bool key = false;
    bool fixed = false;      ///< a frame that can't be trimmed
    bool interlaced = false; ///< frames only
    bool throws = false;     ///< no item: reading throws here, and goes on after it
};

using Script = std::vector<ScriptItem>;

/// Items in the order in which they are read, separated by spaces; all times in ms, with fractions of up to 1 us.
///
///     0K 40 80:20 120K:40 E    starts; K key frame; ":20" the duration, otherwise the distance to the next start
///                              after this one, for the last start the duration of the one before it (40 if alone);
///                              E at the end may be left out
///     0K 120d40p0 40d80 80d120 d the DTS (otherwise none), p an explicit position (not printed), for packets
///     0=7 40x 80i              =7 the picture, sample value or payload (otherwise the index); x can't be trimmed,
///                              i interlaced
///     ?:40 40:?                no PTS, no duration
///     0 40 ! 80                ! reading throws here, once each time that the reader comes by
///
/// The suffixes stand in the order K : d p = x i. A malformed text throws std::invalid_argument.
Script ParseScript(const std::string& text);

/// The text of a script, with E at the end; durations only where they are not the default, values on demand.
std::string PrintScript(const Script& script, bool withValues = false);

/// `count` items of one length in ms, every `keyEvery`th of them a key frame (0: none): "0K 40 80 120K".
std::string Regular(int count, double length = 40, int keyEvery = 0);

/// "120", "33.333", "?" for NoTime.
std::string PrintMs(avTime time);

} // namespace Tessor::Test
