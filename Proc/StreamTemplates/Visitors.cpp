#include "Proc/StreamTemplates/Visitors.h"

#include "Fnd/Exception.h"

#include <stdexcept>

namespace Tessor::Proc::Visitors
{

void ProcessStandartVisitors(IStreamVisitor& visitor, const std::string& name, FrameAllocType type,
                             IStreamVideoDecoder* decoder)
{
    switch (visitor.GetType())
    {
    case 0:
        dynamic_cast<InfoCollector&>(visitor).AddElementInfo(name);
        break;
    case 1:
        dynamic_cast<FrameTypeCollector&>(visitor).AddCurrentType(type);
        break;
    case 2:
        dynamic_cast<DecoderCollector&>(visitor).AddDecoder(decoder);
        break;
    default:
        Throw<std::logic_error>(TESSOR_HERE, "Unknown visitor type");
    }
}

} // namespace Tessor::Proc::Visitors
