#pragma once

#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/IStreamVideo.h"

namespace Tessor::Proc
{

/// An IStreamVideo with typed settings.
class TESSOR_API IStreamVideoEx : public virtual IStreamVideo
{
public:
    using IStream::Initialize;
    /// Sets or replaces the settings. Throws std::bad_cast for settings of another class.
    virtual void Initialize(const Settings& settings) = 0;
};

} // namespace Tessor::Proc
