#include "media/items/DataSubtitleFF.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace Tessor::Proc
{

namespace
{

void FreeSubtitle(const AVSubtitle* subtitle)
{
    // const for those who share it; nobody does any more
    AVSubtitle* owned = const_cast<AVSubtitle*>(subtitle);
    avsubtitle_free(owned);
    delete owned;
}

/// By FFmpeg's allocator, because avsubtitle_free gives the memory back.
template <class T>
T* Allocate(size_t count)
{
    T* memory = static_cast<T*>(av_calloc(count, sizeof(T)));
    if (!memory)
        Throw<Exception>(TESSOR_HERE, "Can't allocate a subtitle");
    return memory;
}

char* CopyText(const char* text)
{
    if (!text)
        return nullptr;
    const size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(Allocate<char>(size), text, size));
}

/// Indices with tight rows, and a palette of full length, so that no index can read past it: colours that the source
/// doesn't have are transparent.
void CopyBitmap(const AVSubtitleRect& from, AVSubtitleRect& to)
{
    if (from.w <= 0 || from.h <= 0 || std::abs(from.linesize[0]) < from.w || !from.data[0] || !from.data[1])
        return;
    const size_t width = static_cast<size_t>(from.w);
    to.data[0] = Allocate<uint8_t>(width * static_cast<size_t>(from.h));
    to.linesize[0] = from.w;
    for (ptrdiff_t y = 0; y < from.h; ++y)
        std::copy_n(from.data[0] + y * from.linesize[0], width, to.data[0] + y * from.w);
    to.data[1] = Allocate<uint8_t>(AVPALETTE_SIZE);
    to.linesize[1] = AVPALETTE_SIZE;
    std::copy_n(from.data[1], std::clamp(from.nb_colors, 0, AVPALETTE_COUNT) * 4, to.data[1]);
}

void CopyRect(const AVSubtitleRect& from, AVSubtitleRect& to)
{
    to.x = from.x;
    to.y = from.y;
    to.w = from.w;
    to.h = from.h;
    to.nb_colors = from.nb_colors;
    to.type = from.type;
    to.flags = from.flags;
    CopyBitmap(from, to);
    to.text = CopyText(from.text);
    to.ass = CopyText(from.ass);
}

std::shared_ptr<const AVSubtitle> CopyDeep(const AVSubtitle& from)
{
    AVSubtitle* copy = new AVSubtitle{};
    std::shared_ptr<const AVSubtitle> result(copy, FreeSubtitle);
    copy->format = from.format;
    copy->start_display_time = from.start_display_time;
    copy->end_display_time = from.end_display_time;
    copy->pts = from.pts;
    if (from.num_rects == 0)
        return result;
    copy->rects = Allocate<AVSubtitleRect*>(from.num_rects);
    for (unsigned i = 0; i < from.num_rects; ++i)
    {
        copy->rects[i] = Allocate<AVSubtitleRect>(1);
        // counted before it is filled, so that a failure frees it
        copy->num_rects = i + 1;
        CopyRect(*from.rects[i], *copy->rects[i]);
    }
    return result;
}

size_t GetRectSize(const AVSubtitleRect& rect)
{
    const size_t bitmap = rect.data[0] ? static_cast<size_t>(rect.w) * static_cast<size_t>(rect.h) + AVPALETTE_SIZE : 0;
    return bitmap + (rect.text ? std::strlen(rect.text) : 0) + (rect.ass ? std::strlen(rect.ass) : 0);
}

} // namespace

SP<DataSubtitleFF> DataSubtitleFF::Create(const AVSubtitle& subtitle, avTime pts, avTime duration)
{
    return SP<DataSubtitleFF>(new DataSubtitleFF(CopyDeep(subtitle), pts, duration));
}

DataSubtitleFF::DataSubtitleFF(std::shared_ptr<const AVSubtitle> subtitle, avTime pts, avTime duration)
    : TimedData(pts, duration), subtitle(std::move(subtitle))
{
}

size_t DataSubtitleFF::GetMemorySize() const
{
    size_t size = 0;
    for (unsigned i = 0; i < subtitle->num_rects; ++i)
        size += GetRectSize(*subtitle->rects[i]);
    return size;
}

SP<IDataSubtitle> DataSubtitleFF::Clone(int mode) const
{
    return SP<IDataSubtitle>(new DataSubtitleFF(mode == 0 ? subtitle : CopyDeep(*subtitle), pts, duration));
}

} // namespace Tessor::Proc
