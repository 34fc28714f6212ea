#pragma once

#include "Fnd/RefCount.h"

namespace Tessor::Proc
{

/// What a host's factory hands to the video effects that it makes, such as a graphics device. Its content is the
/// host's own; null means none.
class TESSOR_API IFactoryDataVideo : public virtual IRefCountable
{
};

/// The same for audio effects.
class TESSOR_API IFactoryDataAudio : public virtual IRefCountable
{
};

} // namespace Tessor::Proc
