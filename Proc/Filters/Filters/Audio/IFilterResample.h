#pragma once

#include "Proc/Settings/SettingsFilterResample.h"
#include "Proc/StreamTemplates/IStreamAudioEx.h"

namespace Tessor::Proc
{

/// Converts rate, sample format and channel layout of a stream.
class TESSOR_API IFilterResample : public virtual IStreamAudioEx
{
public:
    inline static const std::string CLASS_ID = "IFilterResample";

    /// The output; values that are unset are the source's. Takes effect at the next block, and may come from another
    /// thread than reads do.
    virtual void Init(const Conf::SampleInfo& output) = 0;
    virtual void InitByFormat(const SP<const Conf::IFormatCodecAudio>& format) = 0;

    /// A tree named CLASS_ID whose child IResample::CLASS_ID is what the engine is initialised with; its
    /// IPreset::KEY_TYPE_ID names the implementation.
    static Core::Property Settings2Property(const SettingsFilterResample& settings);
    /// Throws FilterException for a tree of another class, SettingsException for values that are wrong.
    static SettingsFilterResample Property2Settings(const Core::Property& tree);
};

} // namespace Tessor::Proc
