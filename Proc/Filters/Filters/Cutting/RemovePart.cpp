#include "Proc/Filters/Filters/Cutting/RemovePart.h"

#include "Fnd/Exception.h"
#include "media/items/DataAudioFF.h"

namespace Tessor::Proc
{

namespace
{

/// Removes a part at one of the ends; false when it lies in the middle.
bool RemoveEnd(IData& item, avTime start, avTime length)
{
    if (start == 0)
        item.TrimStart(length);
    else if (AddTime(start, length) == item.GetDuration())
        item.TrimEnd(length);
    else
        return false;
    return true;
}

void RemoveEndOnly(IData& item, avTime start, avTime length)
{
    if (!RemoveEnd(item, start, length))
        Throw<FilterException>(TESSOR_HERE, "A part in the middle of the item can't be removed");
}

} // namespace

void RemovePart(IDataAudio& item, avTime start, avTime length)
{
    // blocks of a host's own class have no operation for it
    DataAudioFF* const block = dynamic_cast<DataAudioFF*>(&item);
    if (block)
        block->RemovePart(start, length);
    else
        RemoveEndOnly(item, start, length);
}

void RemovePart(IDataVideo& item, avTime start, avTime length)
{
    RemoveEndOnly(item, start, length);
}

void RemovePart(IDataSubtitle& item, avTime start, avTime length)
{
    RemoveEndOnly(item, start, length);
}

} // namespace Tessor::Proc
