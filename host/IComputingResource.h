#pragma once

#include "Fnd/RefCount.h"

namespace Tessor::Core
{

/// A share of a machine's computing resources, held as long as the object lives.
class TESSOR_API IComputingResource : public virtual IRefCountable
{
};

} // namespace Tessor::Core
