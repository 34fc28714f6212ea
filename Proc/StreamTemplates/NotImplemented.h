#pragma once

#include "Fnd/Exception.h"

namespace Tessor::Proc
{

/// For the form of Initialize that a stream has no use for: throws FilterException.
[[noreturn]] inline void ThrowMethodNotImplemented(const boost::source_location& where)
{
    Throw<FilterException>(where, "Method not implemented");
}

} // namespace Tessor::Proc
