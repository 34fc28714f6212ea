#pragma once

#include "Fnd/Lockable.h"
#include "Proc/StreamTemplates/IStreamAudio.h"

namespace Tessor::Proc
{

/// An IStreamAudio whose structure a client changes, under the lock, while it runs.
class TESSOR_API IStreamAudioLockable : public IStreamAudio, public ILockable
{
};

} // namespace Tessor::Proc
