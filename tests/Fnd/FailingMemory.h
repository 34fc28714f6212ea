#pragma once

namespace Tessor::Test
{

/// How many allocations by `new` still succeed in this program before one fails; below 0: all do.
extern long allocationsLeft;

} // namespace Tessor::Test
