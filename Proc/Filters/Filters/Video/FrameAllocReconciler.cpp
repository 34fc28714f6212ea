#include "Proc/Filters/Filters/Video/FrameAllocReconciler.h"

#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Settings/SettingsFrameDownloader.h"
#include "Proc/Settings/SettingsFrameUploader.h"
#include "host/ImplNames.h"

#include <glog/logging.h>

namespace Tessor::Proc
{

void FrameAllocReconciler::Reconcile(SP<IDataVideo>& frame, FrameAllocType required)
{
    const FrameAllocType current = frame->GetFrameAllocType();
    if (current == required)
        return;
    if (required == FRAME_ALLOC_CPU && current == FRAME_ALLOC_OGL)
        return Transfer(frame, frameDownloader, SettingsFrameDownloader::CLASS_ID, downloadWarning);
    if (required == FRAME_ALLOC_OGL && current == FRAME_ALLOC_CPU)
        return Transfer(frame, frameUploader, SettingsFrameUploader::CLASS_ID, uploadWarning);
    // an effect that takes either gets what there is: a transfer costs more than it could save
    if (required == FRAME_ALLOC_ANY && (current == FRAME_ALLOC_CPU || current == FRAME_ALLOC_OGL))
        return;
    Throw<ProcException>(TESSOR_HERE, "Unsupported frame allocators set");
}

void FrameAllocReconciler::Transfer(SP<IDataVideo>& frame, SP<IOneInputEffectVideo>& converter,
                                    const std::string& classId, const char* warning) const
{
    if (!converter)
        converter = RequireFactory(effectFactory).CreateEffectVideo(classId, ImplNames::OGL, nullptr);
    converter->Process(frame);
    if (warning)
        VLOG(21) << warning;
}

void FrameAllocReconciler::PollStatistics() const
{
    for (const SP<IOneInputEffectVideo>& converter : {frameUploader, frameDownloader})
        if (converter)
            converter->GetStatistic();
}

} // namespace Tessor::Proc
