#pragma once

#include "Fnd/Exception.h"
#include "Proc/StreamTemplates/IStream.h"
#include "Proc/StreamTemplates/IStreamVisitor.h"

#include <algorithm>
#include <atomic>
#include <boost/exception_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>
#include <glog/logging.h>
#include <memory>
#include <stdexcept>

namespace Tessor::Proc
{

/// The base of almost every filter: one parent, one item of look-ahead, position, termination, and an optional thread
/// that reads one item ahead. A filter supplies four operations and none of the read or seek machinery:
///
/// AcceptInternal(visitor)
///     One call of Visitors::ProcessStandartVisitors with the filter's name. The base walks on to the parent.
/// ReadInternal()
///     The next item of the filter's kind, null at the end of the stream. Called under readMutex, on the reader's
///     thread (in background mode on the base's own thread, without readMutex). May call anything of the parent and
///     GetPosition of this. A failure is an exception: the filter must leave itself usable, for the next Read calls
///     ReadInternal again. After the end it may be called again and must go on returning null. Termination is the
///     filter's own business: Read does not look at it.
/// RequestSeekInternal(target, partner)
///     Phase one: drop the filter's own state, map the time if the filter changes times, and call
///     parentStream->RequestSeek(target, partner). Called under readMutex with no background thread running, and
///     nothing buffered in the base. The target is at most the duration.
/// DoSeekInternal()
///     Phase two: parentStream->DoSeek(). Called with no lock.
///
/// A destructor of a filter calls StopThread() first: the thread may be inside of the derived class. Overrides of
/// GetDuration, GetSeekResult and ReleaseInternalData are allowed; the last one calls the base's form too.
///
/// Threads: one thread reads and seeks. Terminate and IsTerminated may come from any thread at any time. Lock order:
/// readMutex before nextDataMutex; the background thread takes nextDataMutex alone.
///
///     class FilterX final : public StreamImpl<IStreamVideo, IStreamVideo>, public RefCountImpl
///     {
///     public:
///         static SP<IStreamVideo> Create(const SP<IStreamVideo>& parent) { return SP<IStreamVideo>(new FilterX(parent)); }
///         ~FilterX() override { StopThread(); }
///         // Initialize, GetSettings, GetFormatCodec, GetStatistic
///     private:
///         void AcceptInternal(IStreamVisitor& visitor) override;
///         SP<IDataVideo> ReadInternal() override { return parentStream->Read(); }
///         void RequestSeekInternal(avTime t, SP<IStream> partner) override { parentStream->RequestSeek(t, partner); }
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
    void Read_thread();
    /// One turn of the thread; false when it has to end.
    bool ReadAhead();
    SP<Item> ReadOrStoreException();

    const bool useReadThread;
    boost::recursive_mutex readMutex;         // serialises the public reads and seeks
    boost::mutex nextDataMutex;               // guards nextData and threadException against the thread
    boost::condition_variable spaceAvailable; // the thread waits here for nextData to become empty
    boost::condition_variable dataAvailable;  // Read waits here for nextData to fill
    std::unique_ptr<boost::thread> readThread; // exists from the first Read in background mode to the next seek
    boost::exception_ptr threadException;     // what ended the thread; survives seeks
    mutable std::string codecID = Conf::IFormatCodec::CODEC_ID_NONE; // asked for until it is known
    std::atomic<avTime> position{NoTime};     // written under readMutex, read without
    SP<Item> nextData;                        // the item of look-ahead: from GetPosition or from the thread

protected:
    const SP<IStreamParent> parentStream; // never null

private:
    std::atomic<bool> terminated{false};
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
        readThread->detach();
}

template <class IStreamParent, class IStreamThis>
auto StreamImpl<IStreamParent, IStreamThis>::ReadDirectly() -> SP<Item>
{
    const boost::lock_guard<boost::recursive_mutex> lock(readMutex);
    SP<Item> item;
    if (nextData)
        item.swap(nextData);
    else
        item = ReadInternal();
    if (item)
        position.store(AddTime(item->GetPTS(), item->GetDuration()), std::memory_order_relaxed);
    return item;
}

template <class IStreamParent, class IStreamThis>
auto StreamImpl<IStreamParent, IStreamThis>::ReadFromThread() -> SP<Item>
{
    const boost::lock_guard<boost::recursive_mutex> lock(readMutex);
    if (!readThread)
    {
        readThread = std::make_unique<boost::thread>([this] { Read_thread(); });
        spaceAvailable.notify_all();
    }
    SP<Item> item;
    {
        boost::unique_lock<boost::mutex> dataLock(nextDataMutex);
        while (!nextData && !IsTerminated())
            dataAvailable.wait(dataLock);
        item.swap(nextData);
        if (threadException)
            boost::rethrow_exception(threadException);
        spaceAvailable.notify_all();
    }
    if (item)
        position.store(AddTime(item->GetPTS(), item->GetDuration()), std::memory_order_relaxed);
    return item;
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
    catch (const boost::thread_interrupted&)
    {
    }
    // whoever still waits must see that nothing comes any more
    const boost::lock_guard<boost::mutex> lock(nextDataMutex);
    dataAvailable.notify_all();
}

template <class IStreamParent, class IStreamThis>
bool StreamImpl<IStreamParent, IStreamThis>::ReadAhead()
{
    if (IsTerminated())
        return false;
    boost::this_thread::interruption_point();
    SP<Item> item = ReadOrStoreException();
    if (!item)
        Terminate();

    boost::unique_lock<boost::mutex> lock(nextDataMutex);
    boost::this_thread::interruption_point();
    while (nextData)
    {
        spaceAvailable.wait(lock);
        boost::this_thread::interruption_point();
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
    catch (const boost::thread_interrupted&)
    {
        throw;
    }
    catch (...)
    {
        Terminate();
        const boost::exception_ptr caught = boost::current_exception();
        LOG(ERROR) << "Background reading thread: " << boost::diagnostic_information(caught, true);
        const boost::lock_guard<boost::mutex> lock(nextDataMutex);
        threadException = caught;
        return nullptr;
    }
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::StopThread()
{
    if (!useReadThread || !readThread)
        return;
    {
        const boost::lock_guard<boost::mutex> lock(nextDataMutex);
        readThread->interrupt();
        spaceAvailable.notify_all();
    }
    readThread->join();
    readThread.reset();
}

template <class IStreamParent, class IStreamThis>
avTime StreamImpl<IStreamParent, IStreamThis>::GetPosition()
{
    const avTime known = position.load(std::memory_order_relaxed);
    if (known != NoTime)
        return known;
    const boost::lock_guard<boost::recursive_mutex> lock(readMutex);
    if (!nextData)
        nextData = ReadInternal();
    if (nextData)
        position.store(nextData->GetPTS(), std::memory_order_relaxed);
    return position.load(std::memory_order_relaxed);
}

template <class IStreamParent, class IStreamThis>
void StreamImpl<IStreamParent, IStreamThis>::RequestSeek(avTime target, SP<IStream> partner)
{
    const boost::lock_guard<boost::recursive_mutex> lock(readMutex);
    StopThread();
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
    const boost::lock_guard<boost::recursive_mutex> lock(readMutex);
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
