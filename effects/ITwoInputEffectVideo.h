#pragma once

#include "effects/IEffect.h"
#include "media/items/IDataVideo.h"

namespace Tessor::Proc
{

/// An effect that makes one frame of two: a blend or a transition.
class TESSOR_API ITwoInputEffectVideo : public virtual IEffect
{
public:
    /// A frame with the times of `first`; where one of the two is null, the other one.
    virtual SP<IDataVideo> Process(const SP<IDataVideo>& first, const SP<IDataVideo>& second) = 0;
};

} // namespace Tessor::Proc
