#pragma once

#include "ffhost/streams/Relay.h"

#include <deque>
#include <thread>

namespace Tessor::Host
{

/// Reads a stream ahead on a thread of its own, so that what stands before it and what stands after it work at the
/// same time. At most `capacity` items wait. Who finds none, or no room, sleeps until half of them are there or gone:
/// to wake a thread takes longer than to make a small item. The thread runs from the first read to the end of the
/// stream, a failure or the next seek. A failure is thrown by the read that would have got the item, and by all later
/// ones until a seek.
///
/// Threads: as StreamImpl says. While the thread runs the parent belongs to it alone: whatever asks the parent for its
/// format or statistics has to be allowed during a read.
template <class Kind>
class ReadAhead final : public Relay<Kind>
{
public:
    using Base = Relay<Kind>;
    using Item = typename Kind::Item;

    static SP<Kind> Create(const SP<Kind>& parent, size_t capacity)
    {
        return SP<Kind>(new ReadAhead(parent, std::max<size_t>(capacity, 1)));
    }
    ~ReadAhead() override { StopReading(); }

private:
    ReadAhead(const SP<Kind>& parent, size_t capacity)
        : Base(parent, "ReadAhead"), capacity(capacity), portion((capacity + 1) / 2)
    {
    }

    void Terminate() override
    {
        Base::Terminate();
        const std::lock_guard<std::mutex> lock(mutex);
        room.notify_all();
    }
    void ReleaseInternalData() override
    {
        StopReading();
        Base::ReleaseInternalData();
    }

    SP<Item> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        StopReading();
        Base::RequestSeekInternal(target, partner);
    }

    void Run();
    /// False when the thread has to end.
    bool Put(const SP<Item>& item);
    /// Ends the thread and forgets what it has read.
    void StopReading();

    const size_t capacity;
    const size_t portion;          // that a sleeper waits for
    std::mutex mutex;              // guards all below but the thread itself
    std::condition_variable room;  // for a portion; the thread waits
    std::condition_variable ready; // a portion, or the rest; the consumer waits
    std::deque<SP<Item>> items;    // read and not yet delivered
    std::exception_ptr exception;  // what ended the reading
    bool ended = false;            // nothing will be put any more
    bool stopping = false;         // the thread is to end
    std::thread thread;            // only touched by the consumer
};

template <class Kind>
auto ReadAhead<Kind>::ReadInternal() -> SP<Item>
{
    if (!thread.joinable())
        thread = std::thread([this] { Run(); });
    std::unique_lock<std::mutex> lock(mutex);
    if (items.empty())
        ready.wait(lock, [this] { return items.size() >= portion || ended; });
    if (items.empty())
    {
        if (exception)
            Rethrow(exception);
        return nullptr;
    }
    const SP<Item> item = items.front();
    items.pop_front();
    if (items.size() + portion == capacity)
        room.notify_all();
    return item;
}

template <class Kind>
void ReadAhead<Kind>::Run()
{
    try
    {
        while (const SP<Item> item = Base::parentStream->Read())
            if (!Put(item))
                break;
    }
    catch (...)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        exception = std::current_exception();
    }
    const std::lock_guard<std::mutex> lock(mutex);
    ended = true;
    ready.notify_all();
}

template <class Kind>
bool ReadAhead<Kind>::Put(const SP<Item>& item)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (items.size() >= capacity)
        room.wait(lock, [this] { return items.size() + portion <= capacity || stopping || this->IsTerminated(); });
    if (stopping || this->IsTerminated())
        return false;
    items.push_back(item);
    if (items.size() == portion)
        ready.notify_all();
    return true;
}

template <class Kind>
void ReadAhead<Kind>::StopReading()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
        room.notify_all();
    }
    if (thread.joinable())
        thread.join();
    thread = {};
    items.clear();
    exception = {};
    ended = stopping = false;
}

} // namespace Tessor::Host
