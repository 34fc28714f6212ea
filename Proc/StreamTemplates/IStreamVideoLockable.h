#pragma once

#include "Fnd/Lockable.h"
#include "Proc/StreamTemplates/IStreamVideo.h"

namespace Tessor::Proc
{

/// An IStreamVideo whose structure a client changes, under the lock, while it runs.
class TESSOR_API IStreamVideoLockable : public IStreamVideo, public ILockable
{
};

} // namespace Tessor::Proc
