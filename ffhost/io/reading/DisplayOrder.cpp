#include "ffhost/io/reading/DisplayOrder.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>

namespace Tessor::Host
{

void DisplayOrder::Push(TimedPacket&& timed)
{
    const PictureParser::Picture picture = parser.Look(*timed.packet);
    const bool key = (timed.packet->flags & AV_PKT_FLAG_KEY) != 0;
    if (parser.HasOrder())
    {
        // An IDR picture begins the count anew. A key picture that goes on with it (an open group's) refreshes nothing,
        // and pictures of before may be shown after it.
        sequence += key && picture.order <= lastOrder;
        lastOrder = key ? picture.order : std::max(lastOrder, picture.order);
        PushByOrder({std::move(timed), sequence, picture.order});
    }
    else
        PushByType(std::move(timed), picture.bidirectional);
}

// A picture that nothing leans on is shown at once, and so is every one where nothing is reordered.
void DisplayOrder::PushByType(TimedPacket&& timed, bool bidirectional)
{
    if ((bidirectional || depth == 0) && timed.pts == NoTime)
        timed.pts = timed.dts;
    byType.Push(std::move(timed), bidirectional);
}

// The n-th picture to be shown takes the n-th decoding time, late by the depth of the reordering. All pictures before a
// refresh are shown before it, however few they are.
void DisplayOrder::PushByOrder(Waiting&& next)
{
    if (next.timed.pts == NoTime)
        slots.push_back(AddTime(next.timed.dts, depth * next.timed.duration));
    const bool refresh = !waiting.empty() && next.sequence > waiting.back().sequence;
    if (refresh)
        while (CountUntimed() > 0)
            ShowFirst();
    waiting.push_back(std::move(next));
    while (CountUntimed() > static_cast<size_t>(depth))
        ShowFirst();
}

// The queue is as short as the depth, so that a heap would gain nothing. No picture is shown before it is decoded, even
// where a stream reorders by more pictures than its header says.
void DisplayOrder::ShowFirst()
{
    Waiting* first = nullptr;
    for (Waiting& entry : waiting)
        if (entry.timed.pts == NoTime && (!first || entry.order < first->order))
            first = &entry;
    first->timed.pts = std::max(slots.front(), first->timed.dts);
    slots.pop_front();
}

size_t DisplayOrder::CountUntimed() const
{
    return static_cast<size_t>(
        std::count_if(waiting.begin(), waiting.end(), [](const Waiting& entry) { return entry.timed.pts == NoTime; }));
}

void DisplayOrder::Finish()
{
    while (CountUntimed() > 0)
        ShowFirst();
    byType.Finish();
}

bool DisplayOrder::Pull(TimedPacket& timed)
{
    if (!parser.HasOrder())
        return byType.Pull(timed);
    if (waiting.empty() || waiting.front().timed.pts == NoTime)
        return false;
    timed = std::move(waiting.front().timed);
    waiting.pop_front();
    return true;
}

void DisplayOrder::Reset()
{
    byType.Reset();
    waiting.clear();
    slots.clear();
    sequence = lastOrder = 0;
}

} // namespace Tessor::Host
