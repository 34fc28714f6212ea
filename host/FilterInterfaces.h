#pragma once

#include "Fnd/RefCount.h"
#include "Proc/Settings/Settings.h"
#include "Proc/StreamTemplates/IStreamAudioEx.h"
#include "Proc/StreamTemplates/IStreamController.h"
#include "Proc/StreamTemplates/IStreamRawEx.h"
#include "Proc/StreamTemplates/IStreamSubtitleEx.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"

namespace Tessor::Proc
{

// The public interfaces of filters and controllers that registrators and factories name. Who makes or uses one includes
// its own header.

class ICRCStreamController;
class ICodecFactory;
class ICropDetector;
class IFilterApplyEffectsAudio;
class IFilterApplyEffectsVideo;
class IFilterAudioFormatter;
class IFilterAudioHistogram;
class IFilterAudioMixer;
class IFilterCacheController;
class IFilterFrameRate;
class IFilterRepeatController;
class IFilterResample;
class IFilterResize;
class IFilterSeekController;
class IFilterSubtitleDrawer;
class IFilterVolumeDetect;
class ISmartMapAudio;
class ISmartMapVideo;

/// A join of several streams of one kind.
template <class IStreamKind>
class TIFilterJoin;

/// A stream repeated.
template <class IStreamKindEx, class IStreamKind>
class TIFilterRepeat;

} // namespace Tessor::Proc
