#pragma once

#include "Proc/Settings/SettingsResizer.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"

namespace Tessor::Proc
{

/// A video stream brought to a size. The settings may be changed while another thread reads: the change waits for the
/// end of the read.
class TESSOR_API IFilterResize : public virtual IStreamVideoEx
{
public:
    inline static const std::string CLASS_ID = SettingsResizer::CLASS_ID;

    virtual SettingsResizer GetSettings2() const = 0;

    /// Throws SettingsException for a value that is wrong.
    static SettingsResizer Property2Settings(const Core::Property& property);
    /// The tree that Property2Settings reads.
    static Core::Property Settings2Property(const SettingsResizer& settings);
};

} // namespace Tessor::Proc
