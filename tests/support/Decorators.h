#pragma once

#include "Proc/StreamTemplates/StreamImpl.h"
#include "tests/support/ScriptedStream.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace Tessor::Test
{

/// What a kind of stream asks of a filter of its own.
template <class Kind>
class FilterOf : public Proc::StreamImpl<Kind, Kind>
{
    using Proc::StreamImpl<Kind, Kind>::StreamImpl;
};

template <>
class FilterOf<Proc::IStreamRaw> : public Proc::StreamImpl<Proc::IStreamRaw, Proc::IStreamRaw>
{
public:
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }

protected:
    using StreamImpl::StreamImpl;
};

/// Stops threads at a place until a test lets them go on. Open at first. Waiting here can't be interrupted.
class Gate
{
public:
    /// Closes it: who comes now waits.
    void Hold()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        open = false;
    }
    /// Opens it for all.
    void Release()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        open = true;
        changed.notify_all();
    }
    /// Returns once some thread waits at the closed gate.
    void AwaitHeld()
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return waiting > 0; });
    }
    /// The place itself.
    void Pass()
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (open)
            return;
        ++waiting;
        changed.notify_all();
        changed.wait(lock, [this] { return open; });
        --waiting;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool open = true;
    int waiting = 0; // threads at the closed gate
};

/// Hands everything through in either mode; a test can watch and change what passes.
template <class Kind>
class Hooked : public FilterOf<Kind>, public RefCountImpl
{
public:
    using Item = typename Kind::Item;
    using FilterOf<Kind>::StopThread;
    using FilterOf<Kind>::GetCodecID;

    static SP<Hooked> Create(const SP<Kind>& parent, bool useReadThread = false)
    {
        return SP<Hooked>(new Hooked(parent, useReadThread));
    }
    ~Hooked() override { StopThread(); }

    void Initialize(const Core::Property& settings) override { this->parentStream->Initialize(settings); }
    Core::Property GetSettings() const override { return this->parentStream->GetSettings(); }
    SP<typename Kind::Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }
    Core::Property GetStatistic() const override { return this->parentStream->GetStatistic(); }
    void Terminate() override
    {
        beforeTerminate();
        FilterOf<Kind>::Terminate();
    }

    Gate gate; ///< that every read passes
    std::function<void()> beforeRead = [] {};
    std::function<SP<Item>(const SP<Item>&)> map = [](const SP<Item>& item) { return item; }; ///< of all but the end
    std::function<avTime(avTime)> seekTo = [](avTime target) { return target; };
    std::function<void()> beforeTerminate = [] {};
    std::atomic<int> reads{0};          ///< calls of ReadInternal
    std::atomic<bool> readTwice{false}; ///< two threads were inside of ReadInternal at once

protected:
    explicit Hooked(const SP<Kind>& parent, bool useReadThread = false) : FilterOf<Kind>(parent, useReadThread) {}

private:
    void AcceptInternal(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "Hooked", FRAME_ALLOC_NONE, nullptr);
    }
    SP<Item> ReadInternal() override
    {
        ++reads;
        if (inside.exchange(true))
            readTwice = true;
        const std::shared_ptr<void> leave(nullptr, [this](void*) { inside = false; });
        gate.Pass();
        beforeRead();
        const SP<Item> item = this->parentStream->Read();
        return item ? map(item) : nullptr;
    }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        this->parentStream->RequestSeek(seekTo(target), partner);
    }
    void DoSeekInternal() override { this->parentStream->DoSeek(); }

    std::atomic<bool> inside{false}; // some thread is in ReadInternal
};

} // namespace Tessor::Test
