#pragma once

#include "host/IComputingResource.h"

namespace Tessor::Core
{

class TESSOR_API ComputingResourceManager
{
public:
    /// A resource that stands for no device, for encoders that run on the processor.
    static SP<IComputingResource> TakeFakeResource();
};

} // namespace Tessor::Core
