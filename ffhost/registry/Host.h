#pragma once

#include "ffhost/registry/AlgorithmFactory.h"
#include "ffhost/registry/EffectFactory.h"
#include "ffhost/registry/FilterRegistry.h"

namespace Tessor::Host
{

/// The factories of this host, which know each other. Each may be kept alone.
struct TESSOR_API MediaHost
{
    SP<const EffectFactory> effects;
    SP<const AlgorithmFactory> algorithms;
    SP<const FilterRegistry> filters; ///< with all that the library registers, and our own

    /// What all three make, for lists.
    std::vector<RegistryEntry> List() const;
};

TESSOR_API MediaHost MakeHost();

} // namespace Tessor::Host
