#pragma once

#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/IStreamRaw.h"

namespace Tessor::Proc
{

/// An IStreamRaw with typed settings.
class TESSOR_API IStreamRawEx : public virtual IStreamRaw
{
public:
    using IStream::Initialize;
    /// Sets or replaces the settings. Throws std::bad_cast for settings of another class.
    virtual void Initialize(const Settings& settings) = 0;
};

} // namespace Tessor::Proc
