#include "Proc/Filters/Filters/Cutting/CutStream.h"

#include "Proc/StreamTemplates/NotImplemented.h"

namespace Tessor::Proc
{

template <class IStreamThis>
CutStream<IStreamThis>::CutStream(const SP<IStreamThis>& source, const CutShare& share, std::string name,
                                  FrameAllocType memory)
    : PassThrough<IStreamThis>(source, std::move(name), memory), controller(share.controller),
      intervals(share.intervals), jumps(share.jumps)
{
}

template <class IStreamThis>
void CutStream<IStreamThis>::LeaveJumps()
{
    jumps->EraseStream(this->parentStream.get());
    saveThread.WaitForAll();
}

template <class IStreamThis>
void CutStream<IStreamThis>::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

template <class IStreamThis>
auto CutStream<IStreamThis>::ReadInternal() -> SP<Item>
{
    {
        const Lock lock(mutex);
        if (PassesUncut())
            return this->parentStream->Read();
        BeginRead();
    }
    while (!this->IsTerminated())
    {
        Lock lock(mutex);
        const Turn turn = TakeTurn();
        lock.unlock();
        if (turn.item || turn.ended)
            return turn.item;
        if (turn.move)
            turn.move();
    }
    return nullptr;
}

template <class IStreamThis>
void CutStream<IStreamThis>::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    jumps->DetectNewGOPS(); // before the mapping: it may move starts of intervals
    {
        const Lock lock(mutex);
        eof = false;
        BeginSeek();
    }
    this->parentStream->RequestSeek(intervals->Result2Source(target), partner);
}

template <class IStreamThis>
void CutStream<IStreamThis>::SavePacketsBeforeSeek(avTime start, avTime)
{
    saveThread.Start([this, start] { SavePacketsBeforeSeek_thread(start); }, [this] { jumps->RefuseJump(); });
}

template <class IStreamThis>
void CutStream<IStreamThis>::SavePacketsBeforeSeek_thread(avTime start)
{
    for (bool more = true; more && !this->IsTerminated();)
    {
        const Lock lock(mutex); // for each item anew, so that the reader need not wait for all of them
        more = SaveOne(start);
    }
}

template class CutStream<IStreamVideo>;
template class CutStream<IStreamAudio>;
template class CutStream<IStreamSubtitle>;
template class CutStream<IStreamRaw>;

} // namespace Tessor::Proc
