#pragma once

#include "Fnd/Exception.h"
#include "Proc/StreamTemplates/BackgroundThread.h"
#include "Proc/StreamTemplates/IStream.h"
#include "Proc/StreamTemplates/IStreamVisitor.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace Tessor::Proc
{

/// The base of almost every filter: one parent, one item of look-ahead, position, termination, and an optional thread
/// that reads one item ahead. A filter supplies four operations and none of the read or seek machinery:
///
/// AcceptInternal(visitor)
///     One call of Visitors::ProcessStandartVisitors with the filter's name. The base walks on to the parent.
/// ReadInternal()
///     The next item of the filter's kind, null at the end of the stream. Called under readMutex on the reader's
///     thread; may call anything of the parent, and GetPosition of this. A failure is an exception: the filter must
///     leave itself usable, because the next Read calls ReadInternal again. So it does after the end, and must get
///     null again. Termination is the filter's own business: Read does not look at it. In background mode it runs
///     on the base's own thread without readMutex, may not call GetPosition of this, and null is final until a seek.
/// RequestSeekInternal(target, partner)
///     Phase one: drop the filter's own state, map the time if the filter changes times, and call
///     parentStream->RequestSeek(target, partner). Called under readMutex with no background thread running and
///     nothing buffered in the base. The target is at most the duration, where that is known.
/// DoSeekInternal()
///     Phase two: parentStream->DoSeek(). Called with no lock.
///
/// Most filters derive from PassThrough, which supplies all but ReadInternal. What stands on this base itself and reads
/// on a thread calls StopThread() first in its destructor: the thread may be inside of the derived class. Overrides of
/// GetDuration, GetSeekResult and ReleaseInternalData are allowed; the last one calls the base's form too.
///
/// Threads: one thread reads and seeks. Terminate and IsTerminated may come from any thread at any time. Lock order:
/// readMutex before nextDataMutex; the background thread takes nextDataMutex alone. A failure in background mode is
/// thrown by the next Read and by every later one: it is never forgotten.
///
///     class FilterX final : public StreamImpl<IStreamVideo, IStreamVideo>, public RefCountImpl
///     {
///     public:
///         static SP<IStreamVideo> Create(const SP<IStreamVideo>& parent)
///         {
///             return SP<IStreamVideo>(new FilterX(parent));
///         }
///         ~FilterX() override { StopThread(); }
///
///     private:
///         explicit FilterX(const SP<IStreamVideo>& parent) : StreamImpl(parent, false) {}
///
///         void Initialize(const Core::Property&) override { ThrowMethodNotImplemented(TESSOR_HERE); }
///         Core::Property GetSettings() const override { return Core::Property(); }
///         Core::Property GetStatistic() const override { return parentStream->GetStatistic(); }
///         SP<Conf::IFormatCodecVideo> GetFormatCodec() const override { return parentStream->GetFormatCodec(); }
///
///         void AcceptInternal(IStreamVisitor& visitor) override
///         {
///             Visitors::ProcessStandartVisitors(visitor, "FilterX", FRAME_ALLOC_NONE, nullptr);
///         }
///         SP<IDataVideo> ReadInternal() override { return parentStream->Read(); }
///         void RequestSeekInternal(avTime target, SP<IStream> partner) override
///         {
///             parentStream->RequestSeek(target, partner);
///         }
///         void DoSeekInternal() override { parentStream->DoSeek(); }
///     };
template <class IStreamParent, class IStreamThis>
class StreamImpl : public virtual IStreamThis
{
public:
    using Item = typename IStreamThis::Item;

    /// Throws std::invalid_argument for a null parent.
    StreamImpl(const SP<IStreamParent>& parentStream, const bool useReadThread);
    ~StreamImpl() override;

    SP<Item> Read() override { return useReadThread ? ReadFromThread() : ReadDirectly(); }
    SP<IData> ReadStream() override { return Read(); }
    avTime GetDuration() const override { return parentStream->GetDuration(); }
    avTime GetPosition() override;
    void RequestSeek(avTime target, SP<IStream> partner) override;
    void DoSeek() override { DoSeekInternal(); }
    bool GetSeekResult() override { return true; }
    void Terminate() override;
    bool IsTerminated() const override { return terminated; }
    void ReleaseInternalData() override;
    void Accept(IStreamVisitor& visitor) override;

protected:
    virtual void AcceptInternal(IStreamVisitor& visitor) = 0;
    virtual SP<Item> ReadInternal() = 0;
    virtual void RequestSeekInternal(avTime target, SP<IStream> partner) = 0;
    virtual void DoSeekInternal() = 0;

    /// Ends the background thread and waits for it. Throws the thread library's resource error when called from it.
    void StopThread();

    /// The parent's codec, cached once it is known.
    const std::string& GetCodecID() const;

private:
    SP<Item> ReadDirectly();
    SP<Item> ReadFromThread();
    void StartThread();
    /// Waits until the thread has filled nextData or will not fill it any more. `lock` holds nextDataMutex.
    void AwaitData(std::unique_lock<std::mutex>& lock);
    /// Fills nextData where that takes no more than reading; not at the end of the stream.
    void LookAhead();
    void MovePositionAfter(const SP<Item>& item);

    void Read_thread();
    /// One turn of the thread; false when it has to end.
    bool ReadAhead();
    SP<Item> ReadOrStoreException();
    /// In a catch handler.
    void StoreException();

    const bool useReadThread;
    std::recursive_mutex readMutex; // serialises the public reads and seeks
    // Plain ones, that know nothing of thread interruption: an interruption comes with a notification.
    std::mutex nextDataMutex;                     // guards nextData and threadException against the thread
    std::condition_variable spaceAvailable;       // the thread waits here for nextData to become empty
    std::condition_variable dataAvailable;        // Read waits here for nextData to fill
    std::unique_ptr<BackgroundThread> readThread; // from the first Read in background mode to the next seek
    std::exception_ptr threadException;           // what ended the thread; survives seeks
    mutable std::string codecID = Conf::IFormatCodec::CODEC_ID_NONE; // asked for until it is known
    std::atomic<avTime> position{NoTime}; // NoTime from a seek on until an item is known; written under readMutex
    SP<Item> nextData;                    // the item of look-ahead: from GetPosition or from the thread

protected:
    const SP<IStreamParent> parentStream; // never null

private:
    std::atomic<bool> terminated{false}; // from Terminate to the next seek
    // Both under nextDataMutex, and reset when a thread starts.
    bool threadFailed = false; // ReadInternal threw: the end that follows may not be taken for a regular one
    bool threadEnded = false;  // the thread will fill nextData no more
};

template <class IStreamParent, class IStreamThis>
StreamImpl<IStreamParent, IStreamThis>::StreamImpl(const SP<IStreamParent>& parentStream, const bool useReadThread)
    : useReadThread(useReadThread), parentStream(parentStream)
{
    if (!parentStream)
        Throw<std::invalid_argument>(TESSOR_HERE, "parentStream is NULL.");
}

template <class IStreamParent, class IStreamThis>
StreamImpl<IStreamParent, IStreamThis>::~StreamImpl()
{
    // A thread that is still here would run into a destroyed object: the derived destructor failed its duty.
    if (readThread)
        readThread->Detach();
}

template <class IStreamParent, class IStreamThis>
auto StreamImpl<IStreamParent, IStreamThis>::ReadDirectly() -> SP<Item>
{
    const std::lock_guard<std::recursive_mutex> lock(readMutex);
    SP<Item> item;
    if (nextData)
        item.swap(nextData);
    else
        item = ReadInternal();
    MovePositionAfter(item);
    return item;
}

template <class IStreamParent, class IStreamThis>
auto StreamImpl<IStreamParent, IStreamThis>::ReadFromThread() -> SP<Item>
{
    const std::lock_guard<std::recursive_mutex> lock(readMutex);
    if (!readThread)
        StartThread();
    SP<Item> item;
    {
        std::unique_lock<std::mutex> dataLock(nextDataMutex);
        AwaitData(dataLock);
        item.swap(nextData);
        spaceAvailable.notify_all(); // also before a failure: the next Read would wait for a sleeping thread
        if (threadException)
            Rethrow(threadException);
    }
    MovePositionAfter(item);
    return item;
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::StartThread()
{
    // The thread's own StopThread must find the thread object.
    const std::lock_guard<std::mutex> lock(nextDataMutex);
    threadFailed = threadEnded = false;
    readThread = std::make_unique<BackgroundThread>([this] { Read_thread(); });
    spaceAvailable.notify_all();
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::AwaitData(std::unique_lock<std::mutex>& lock)
{
    // Termination comes before the record of a failure; a reader that left in between would see a regular end.
    const auto ends = [this] { return threadEnded || (IsTerminated() && (!threadFailed || threadException)); };
    while (!nextData && !ends())
        dataAvailable.wait(lock);
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::MovePositionAfter(const SP<Item>& item)
{
    if (item)
        position.store(AddTime(item->GetPTS(), item->GetDuration()), std::memory_order_relaxed);
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::Read_thread()
{
    try
    {
        while (ReadAhead())
        {
        }
    }
    catch (...)
    {
        if (!BackgroundThread::IsInterruption())
            StoreException(); // the parent's Terminate failed
    }
    // whoever still waits must see that nothing comes any more
    const std::lock_guard<std::mutex> lock(nextDataMutex);
    threadEnded = true;
    dataAvailable.notify_all();
}

template <class IStreamParent, class IStreamThis>
bool StreamImpl<IStreamParent, IStreamThis>::ReadAhead()
{
    if (IsTerminated())
        return false;
    BackgroundThread::InterruptionPoint();
    // without the mutex: GetPosition and Read may take what is buffered meanwhile
    SP<Item> item = ReadOrStoreException();
    if (!item)
        Terminate(); // null is handed over like an item; the next turn ends the thread

    std::unique_lock<std::mutex> lock(nextDataMutex);
    // StopThread interrupts under this mutex: what it sends is seen here or wakes the wait
    BackgroundThread::InterruptionPoint();
    while (nextData)
    {
        spaceAvailable.wait(lock);
        BackgroundThread::InterruptionPoint();
    }
    nextData.swap(item);
    dataAvailable.notify_one();
    return true;
}

template <class IStreamParent, class IStreamThis>
auto StreamImpl<IStreamParent, IStreamThis>::ReadOrStoreException() -> SP<Item>
{
    try
    {
        return ReadInternal();
    }
    catch (...)
    {
        if (BackgroundThread::IsInterruption())
            throw;
        {
            const std::lock_guard<std::mutex> lock(nextDataMutex);
            threadFailed = true;
        }
        Terminate();
        StoreException();
        return nullptr;
    }
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::StoreException()
{
    BackgroundThread::LogFailure();
    const std::lock_guard<std::mutex> lock(nextDataMutex);
    threadException = std::current_exception();
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::StopThread()
{
    if (!useReadThread)
        return;
    {
        // Under the mutex, so that the thread either sees the interruption before it waits or is woken from waiting.
        const std::lock_guard<std::mutex> lock(nextDataMutex);
        if (!readThread)
            return;
        readThread->Interrupt();
        spaceAvailable.notify_all();
    }
    readThread->Join(); // to the end: the derived class may be about to go away
    readThread.reset();
}

template <class IStreamParent, class IStreamThis>
avTime StreamImpl<IStreamParent, IStreamThis>::GetPosition()
{
    // without the lock, which a read on another thread may hold for long
    const avTime known = position.load(std::memory_order_relaxed);
    if (known != NoTime)
        return known;
    const std::lock_guard<std::recursive_mutex> lock(readMutex);
    LookAhead();
    const std::lock_guard<std::mutex> dataLock(nextDataMutex);
    if (nextData)
        position.store(nextData->GetPTS(), std::memory_order_relaxed);
    return position.load(std::memory_order_relaxed);
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::LookAhead()
{
    if (readThread)
    {
        // Two threads may never be inside ReadInternal: this one waits for what the other one reads.
        std::unique_lock<std::mutex> dataLock(nextDataMutex);
        AwaitData(dataLock);
    }
    else if (!nextData)
        nextData = ReadInternal();
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::RequestSeek(avTime target, SP<IStream> partner)
{
    const std::lock_guard<std::recursive_mutex> lock(readMutex);
    StopThread(); // first: the thread could still fill nextData, or terminate what is revived here
    terminated.exchange(false);
    const avTime duration = this->GetDuration();
    position.store(NoTime, std::memory_order_relaxed);
    nextData.reset();
    RequestSeekInternal(duration == NoTime ? target : std::min(duration, target), partner);
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::Terminate()
{
    terminated.exchange(true);
    parentStream->Terminate();
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::ReleaseInternalData()
{
    StopThread();
    const std::lock_guard<std::recursive_mutex> lock(readMutex);
    nextData.reset();
    parentStream->ReleaseInternalData();
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::Accept(IStreamVisitor& visitor)
{
    AcceptInternal(visitor);
    parentStream->Accept(visitor);
}

template <class IStreamParent, class IStreamThis>
const std::string& StreamImpl<IStreamParent, IStreamThis>::GetCodecID() const
{
    if (codecID == Conf::IFormatCodec::CODEC_ID_NONE)
    {
        const SP<Conf::IFormatCodec> format = parentStream->GetFormatCodecBase();
        if (format)
            codecID = format->GetCodecID();
    }
    return codecID;
}

} // namespace Tessor::Proc
