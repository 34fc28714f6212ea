#pragma once

#include "media/formats/Color.h"
#include "media/formats/PixFmt.h"
#include "media/items/FrameAllocType.h"
#include "media/items/IData.h"
#include "media/items/PlaneTemplate.h"

namespace Tessor::Proc
{

/// A decoded frame.
class TESSOR_API IDataVideo : public virtual IDataMedia
{
public:
    virtual FrameAllocType GetFrameAllocType() const = 0;
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;
    virtual PixFmt GetPixFmt() const = 0;
    virtual bool IsInterlaced() const = 0;
    /// A view of plane `index`. Throws std::out_of_range when there is no such plane.
    virtual Details::PlaneTemplate<false> GetPlane(int index) = 0;
    virtual Details::PlaneTemplate<true> GetPlane(int index) const = 0;
    /// A private copy with pixels of its own that the caller may write.
    virtual SP<IDataVideo> MakeWritableCopy() const = 0;
    /// 0: new times over the shared picture; 1 and 2: a deep copy that depends on nobody's buffers.
    virtual SP<IDataVideo> Clone(int mode) const = 0;
    /// Paints the whole frame; no clone sees the change. Throws Exception with the format's name for formats that it
    /// can't paint.
    virtual void Fill(const Color& color) = 0;
};

/// Planes of the frame's pixel format, as it is stored (a packed format has 1, NV12 has 2, a palette counts as one).
TESSOR_API int GetPlanesCount(const IDataVideo& frame);

/// True for a frame that lives in an OpenGL texture.
TESSOR_API bool IsOGLFrame(const SP<IDataVideo>& frame);

} // namespace Tessor::Proc
