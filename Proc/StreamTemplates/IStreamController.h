#pragma once

#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/IStreamAudio.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/IStreamSubtitle.h"
#include "Proc/StreamTemplates/IStreamVideo.h"

namespace Tessor::Proc
{

/// Coordinates several streams of one graph. AddStream returns the stream to use in place of the one handed in, null
/// for kinds that a controller does not support.
class TESSOR_API IStreamController : public virtual IRefCountable
{
public:
    virtual void Initialize(const Core::Property& settings) = 0;
    virtual void Initialize(const Settings& settings) = 0;
    virtual SP<IStreamRaw> AddStream(const SP<IStreamRaw>& stream) = 0;
    virtual SP<IStreamAudio> AddStream(const SP<IStreamAudio>& stream) = 0;
    virtual SP<IStreamVideo> AddStream(const SP<IStreamVideo>& stream) = 0;
    virtual SP<IStreamSubtitle> AddStream(const SP<IStreamSubtitle>& stream) = 0;
};

} // namespace Tessor::Proc
