#pragma once

#include "ffhost/registry/RegistryEntry.h"
#include "host/IAlgorithmFactory.h"

namespace Tessor::Host
{

/// Makes the engines of this host. Threads: any.
class TESSOR_API AlgorithmFactory final : public Proc::IAlgorithmFactory, public RefCountImpl
{
public:
    static SP<AlgorithmFactory> Create() { return SP<AlgorithmFactory>(new AlgorithmFactory); }

    SP<Proc::IAudioFormatter> CreateAudioFormatter(const std::string& implName) const override;

    std::vector<RegistryEntry> List() const;

private:
    AlgorithmFactory() = default;
};

} // namespace Tessor::Host
