#include "host/ComputingResourceManager.h"

namespace Tessor::Core
{

namespace
{

class FakeResource final : public IComputingResource, public RefCountImpl
{
};

} // namespace

SP<IComputingResource> ComputingResourceManager::TakeFakeResource()
{
    return SP<IComputingResource>(new FakeResource);
}

} // namespace Tessor::Core
