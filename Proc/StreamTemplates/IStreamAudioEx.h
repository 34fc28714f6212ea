#pragma once

#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/IStreamAudio.h"

namespace Tessor::Proc
{

/// An IStreamAudio with typed settings.
class TESSOR_API IStreamAudioEx : public virtual IStreamAudio
{
public:
    using IStream::Initialize;
    /// Sets or replaces the settings. Throws std::bad_cast for settings of another class.
    virtual void Initialize(const Settings& settings) = 0;
};

} // namespace Tessor::Proc
