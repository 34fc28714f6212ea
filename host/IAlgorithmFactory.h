#pragma once

#include "Fnd/RefCount.h"

#include <string>

namespace Tessor::Proc
{

class IAudioFormatter;

/// Makes engines that filters are shells around.
class TESSOR_API IAlgorithmFactory : public virtual IRefCountable
{
public:
    /// Cuts audio into blocks of one length. Throws AlgorithmException for an unknown implementation.
    virtual SP<IAudioFormatter> CreateAudioFormatter(const std::string& implName) const = 0;
};

} // namespace Tessor::Proc
