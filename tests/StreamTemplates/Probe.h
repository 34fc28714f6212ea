#pragma once

#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <atomic>
#include <functional>

namespace Tessor::Test
{

/// A filter in either mode whose reads a test can watch and replace.
class Probe final : public PassThrough<Proc::IStreamVideo>
{
public:
    static SP<Probe> Create(const SP<Proc::IStreamVideo>& parent, bool useReadThread)
    {
        return SP<Probe>(new Probe(parent, useReadThread));
    }
    ~Probe() override { StopThread(); }

    using PassThrough::GetCodecID;
    using PassThrough::StopThread;

    std::function<void()> beforeRead = [] {};
    std::atomic<int> reads{0};          ///< calls of ReadInternal
    std::atomic<bool> readTwice{false}; ///< two threads were inside of ReadInternal at once

private:
    using PassThrough::PassThrough;

    SP<Proc::IDataVideo> ReadInternal() override
    {
        ++reads;
        if (inside.exchange(true))
            readTwice = true;
        const std::unique_ptr<std::atomic<bool>, void (*)(std::atomic<bool>*)> leave(&inside,
                                                                                     [](auto* f) { *f = false; });
        beforeRead();
        return PassThrough::ReadInternal();
    }

    std::atomic<bool> inside{false}; // some thread is in ReadInternal
};

/// A source whose Terminate passes a gate.
class SlowToTerminate final : public PassThrough<Proc::IStreamVideo>
{
public:
    static SP<SlowToTerminate> Create(const SP<Proc::IStreamVideo>& parent)
    {
        return SP<SlowToTerminate>(new SlowToTerminate(parent));
    }

    void Terminate() override
    {
        gate.Pass();
        PassThrough::Terminate();
    }

    Gate gate;

private:
    using PassThrough::PassThrough;
};

} // namespace Tessor::Test
