#pragma once

#include "Fnd/Export.h"

namespace Tessor::Proc
{

/// Walks a chain from the consumer to the source.
class TESSOR_API IStreamVisitor
{
public:
    virtual ~IStreamVisitor() = default;
    /// The kind: 0 InfoCollector, 1 FrameTypeCollector, 2 DecoderCollector.
    virtual int GetType() const = 0;
};

} // namespace Tessor::Proc
