#pragma once

#include "Fnd/Exception.h"

namespace Tessor::Host
{

/// The system has failed to read a file that is open, which says nothing about what is in it.
class TESSOR_API ReadFailure : public virtual Core::IOException
{
};

} // namespace Tessor::Host
