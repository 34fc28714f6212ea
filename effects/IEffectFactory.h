#pragma once

#include "Fnd/Property/Property.h"
#include "Proc/StreamTemplates/IStream.h"
#include "effects/IFactoryDataVideo.h"

#include <string>
#include <vector>

namespace Tessor::Proc
{

class IEffect;
class IOneInputEffectAudio;
class IOneInputEffectVideo;
class ITwoInputEffectVideo;

/// Makes effects by the CLASS_ID of their settings and the name of an implementation. What is not known throws
/// EffectException.
class TESSOR_API IEffectFactory : public virtual IRefCountable
{
public:
    virtual SP<IOneInputEffectVideo> CreateEffectVideo(const std::string& classId, const std::string& implName,
                                                       const SP<const IFactoryDataVideo>& data) const = 0;
    virtual SP<IOneInputEffectAudio> CreateEffectAudio(const std::string& classId, const std::string& implName,
                                                       const SP<const IFactoryDataAudio>& data) const = 0;
    virtual SP<ITwoInputEffectVideo> CreateTwoInputEffectVideo(const std::string& classId, const std::string& implName,
                                                               const SP<const IFactoryDataVideo>& data) const = 0;
    /// An effect configured by a tree, for the stream that it will work on.
    virtual SP<IEffect> CreateEffect(const std::string& classId, const Core::Property& settings,
                                     const SP<IStream>& parent, const std::string& implName,
                                     const SP<const IFactoryDataVideo>& data) const = 0;

    /// Names of the implementations of a class, the preferred one first.
    virtual std::vector<std::string> ListVideoImplementations(const std::string& classId) const = 0;
    virtual std::vector<std::string> ListAudioImplementations(const std::string& classId) const = 0;
};

} // namespace Tessor::Proc
