#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/Visitors.h"

#include <condition_variable>
#include <mutex>

namespace Tessor::Test
{

template <class Kind>
class MediaTypeOf
{
protected:
    explicit MediaTypeOf(const SP<Kind>&) {}
};

template <>
class MediaTypeOf<Proc::IStreamRaw> : public virtual Proc::IStreamRaw
{
public:
    MediaType GetMediaType() const override { return type; }

protected:
    explicit MediaTypeOf(const SP<Proc::IStreamRaw>& parent) : type(parent ? parent->GetMediaType() : MediaType::None)
    {
    }

private:
    const MediaType type;
};

/// Hands everything through. The base of decorators, and the simplest filter.
template <class Kind>
class PassThrough : public Proc::StreamImpl<Kind, Kind>, public MediaTypeOf<Kind>, public RefCountImpl
{
public:
    using Item = typename Kind::Item;

    explicit PassThrough(const SP<Kind>& parent, bool useReadThread = false)
        : Proc::StreamImpl<Kind, Kind>(parent, useReadThread), MediaTypeOf<Kind>(parent)
    {
    }
    ~PassThrough() override { this->StopThread(); }

    void Initialize(const Core::Property& settings) override { this->parentStream->Initialize(settings); }
    Core::Property GetSettings() const override { return this->parentStream->GetSettings(); }
    SP<typename Kind::Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }
    Core::Property GetStatistic() const override { return this->parentStream->GetStatistic(); }

protected:
    void AcceptInternal(Proc::IStreamVisitor& visitor) override
    {
        Proc::Visitors::ProcessStandartVisitors(visitor, "PassThrough", FRAME_ALLOC_NONE, nullptr);
    }
    SP<Item> ReadInternal() override { return this->parentStream->Read(); }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        this->parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { this->parentStream->DoSeek(); }
};

/// Throws "scripted failure" in place of the n-th read, counted from 1 and from now on; 0 for never.
template <class Kind>
class FaultySource final : public PassThrough<Kind>
{
public:
    static SP<FaultySource> Create(const SP<Kind>& parent, int failingRead)
    {
        return SP<FaultySource>(new FaultySource(parent, failingRead));
    }

    void FailIn(int reads) { readsLeft = reads; }

private:
    FaultySource(const SP<Kind>& parent, int failingRead) : PassThrough<Kind>(parent), readsLeft(failingRead) {}

    SP<typename Kind::Item> ReadInternal() override
    {
        if (readsLeft > 0 && --readsLeft == 0)
            Throw<Proc::FilterException>(TESSOR_HERE, "scripted failure");
        return PassThrough<Kind>::ReadInternal();
    }

    int readsLeft; // until the failure, 0 for none
};

/// Stops threads at a place until a test lets them go on. Open at first. Waiting here can't be interrupted.
class Gate
{
public:
    /// Closes it: who comes now waits.
    void Hold()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        tickets = 0;
        open = false;
    }
    /// Lets `count` threads pass, or passes, and stays closed.
    void Let(int count = 1)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        tickets += count;
        changed.notify_all();
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
        changed.wait(lock, [this] { return waiting > tickets; });
    }
    /// The place itself.
    void Pass()
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (open)
            return;
        ++waiting;
        changed.notify_all();
        changed.wait(lock, [this] { return open || tickets > 0; });
        --waiting;
        if (!open)
            --tickets;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool open = true;
    int tickets = 0; // passes granted and not yet used
    int waiting = 0; // threads at the closed gate
};

/// Passes a gate before every read.
template <class Kind>
class HoldableSource final : public PassThrough<Kind>
{
public:
    static SP<HoldableSource> Create(const SP<Kind>& parent) { return SP<HoldableSource>(new HoldableSource(parent)); }

    Gate gate;

private:
    using PassThrough<Kind>::PassThrough;

    SP<typename Kind::Item> ReadInternal() override
    {
        gate.Pass();
        return PassThrough<Kind>::ReadInternal();
    }
};

} // namespace Tessor::Test
