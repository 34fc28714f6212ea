#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "host/IComputingResource.h"

namespace Tessor::Proc
{

/// An encoder: packets are read from it, its format gives the headers that it writes.
class TESSOR_API IEncoder : public virtual IStreamRaw
{
public:
    virtual SP<Core::IComputingResource> GetComputingResource() const = 0;
};

/// An encoder that copies packets.
class TESSOR_API IEncoderLossless : public virtual IEncoder
{
};

} // namespace Tessor::Proc
