#pragma once

#include "Proc/Settings/SettingsFilterAudioVolume.h"
#include "Proc/StreamTemplates/IStreamAudioEx.h"

namespace Tessor::Proc
{

/// Scales a stream by a fixed gain, and by a running normalisation where that is asked for.
class TESSOR_API IFilterAudioVolume : public virtual IStreamAudioEx
{
public:
    static Core::Property Settings2Property(const SettingsFilterAudioVolume& settings) { return settings.ToProperty(); }
    /// What the tree does not name has its default. Throws SettingsException for keys and values that are wrong.
    static SettingsFilterAudioVolume Property2Settings(const Core::Property& tree)
    {
        SettingsFilterAudioVolume settings;
        settings.FromProperty(tree);
        return settings;
    }
};

} // namespace Tessor::Proc
