#include "Fnd/CallStack.h"

#include <boost/stacktrace.hpp>

namespace Tessor
{

std::string GetCallStack()
{
    constexpr size_t own_frames = 1;
    constexpr size_t max_frames = 32;
    return boost::stacktrace::to_string(boost::stacktrace::stacktrace(own_frames, max_frames));
}

} // namespace Tessor
