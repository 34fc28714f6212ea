#pragma once

#include "media/items/IDataAudio.h"
#include "media/items/IDataSubtitle.h"
#include "media/items/IDataVideo.h"

namespace Tessor::Proc
{

/// Removes the part from `start` on, of that length, both counted from the item's start. Throws Exception when the item
/// can't do it: a part in the middle can only be taken from audio.
TESSOR_API void RemovePart(IDataAudio& item, avTime start, avTime length);
TESSOR_API void RemovePart(IDataVideo& item, avTime start, avTime length);
TESSOR_API void RemovePart(IDataSubtitle& item, avTime start, avTime length);

} // namespace Tessor::Proc
