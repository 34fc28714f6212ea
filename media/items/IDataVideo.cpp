#include "media/items/IDataVideo.h"

namespace Tessor::Proc
{

int GetPlanesCount(const IDataVideo& frame)
{
    return PixFmtDescription::Find(frame.GetPixFmt()).GetPlanesCount();
}

bool IsOGLFrame(const SP<IDataVideo>& frame)
{
    return frame && frame->GetFrameAllocType() == FRAME_ALLOC_OGL;
}

} // namespace Tessor::Proc
