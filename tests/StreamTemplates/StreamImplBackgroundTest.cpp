#include "tests/support/Decorators.h"

#include <boost/thread/thread.hpp>
#include <glog/logging.h>
#include <random>
#include <stdexcept>
#include <thread>

namespace Tessor::Test
{
namespace
{

using Proc::IStreamVideo;
using Probe = Hooked<IStreamVideo>;

TEST(StreamImplBackground, ReadsOneItemAheadAndNoMore)
{
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create(Regular(9)), true);
    EXPECT_EQ(probe->reads, 0) << "there is no thread before the first read";
    for (int item = 0; item < 3; ++item)
    {
        // the reader takes this one, the next goes to the cell, and the thread keeps a third in hand
        EXPECT_EQ(probe->Read()->GetPTS(), item * 40 * ms);
        while (probe->reads < item + 3)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(probe->reads, item + 3);
    }
}

TEST(StreamImplBackground, TheEndIsTerminationAndFinal)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0 40");
    const SP<Probe> probe = Probe::Create(source, true);
    EXPECT_EQ(ReadAll(probe), "0 40 E");
    EXPECT_TRUE(probe->IsTerminated() && source->IsTerminated());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ReadAll(probe), "E");
    EXPECT_EQ(probe->reads, 3);
    EXPECT_EQ(probe->GetPosition(), 80 * ms);
    probe->ReleaseInternalData();
    EXPECT_EQ(ReadAll(probe), "E") << "still terminated";
    Seek(probe, 40 * ms);
    EXPECT_EQ(ReadAll(probe), "40 E");
}

TEST(StreamImplBackground, AFailureIsNeverForgotten)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("! 40 80");
    const SP<Probe> probe = Probe::Create(source, true);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(ReadSome(probe, 2), "! !");
    EXPECT_TRUE(probe->IsTerminated() && source->IsTerminated());
    Seek(probe, 40 * ms);
    EXPECT_FALSE(probe->IsTerminated());
    EXPECT_EQ(ReadSome(probe, 1), "!");
    EXPECT_EQ(probe->GetPosition(), 80 * ms) << "the new thread goes on reading";
    EXPECT_EQ(ReadSome(probe, 2), "! !");
}

TEST(StreamImplBackground, AFailureIsLoggedOnce)
{
    struct Lines final : google::LogSink
    {
        void send(google::LogSeverity severity, const char*, const char*, int, const tm*, const char* message,
                  size_t length) override
        {
            EXPECT_EQ(severity, google::GLOG_ERROR);
            lines.emplace_back(message, length);
        }
        std::vector<std::string> lines;
    } log;
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("!"), true);
    google::AddLogSink(&log);
    ReadSome(probe, 2);
    probe->StopThread();
    google::RemoveLogSink(&log);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0].rfind("Background reading thread: ", 0), 0u) << log.lines[0];
    EXPECT_NE(log.lines[0].find("scripted failure"), std::string::npos) << log.lines[0];
}

TEST(StreamImplBackground, AFailureIsNotTakenForTheEnd)
{
    // The thread stands between its failure and the record of it.
    const SP<Probe> source = Probe::Create(ScriptedVideo::Create("!"));
    const SP<Probe> probe = Probe::Create(source, true);
    Gate gate;
    source->beforeTerminate = [&] { gate.Pass(); };
    gate.Hold();
    std::thread opener(
        [&]
        {
            gate.AwaitHeld();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            gate.Release();
        });
    EXPECT_EQ(ReadSome(probe, 1), "!");
    opener.join();
    // That of the parent's termination is reported too.
    const SP<Probe> other = Probe::Create(ScriptedVideo::Create("!"));
    other->beforeTerminate = [] { Throw<std::logic_error>(TESSOR_HERE, "not now"); };
    EXPECT_EQ(ReadSome(Probe::Create(other, true), 1), "!(not now)");
}

/// Lets the thread fail, and returns once that failure is the one to be thrown: until then it may be a former one.
void FailAnew(const SP<Probe>& probe, const std::function<void()>& failure)
{
    Seek(probe, 0);
    probe->beforeRead = failure;
    EXPECT_ANY_THROW(probe->Read());
    while (!probe->IsTerminated())
        std::this_thread::yield();
    probe->StopThread();
}

TEST(StreamImplBackground, AFailureArrivesAsItWasThrownAndIsItsReadersOwn)
{
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("0"), true);
    FailAnew(probe, [] { throw Proc::FilterException(); });
    EXPECT_THROW(probe->Read(), Proc::FilterException);
    FailAnew(probe, [] { throw 5; });
    EXPECT_THROW(probe->Read(), int);

    const auto fail = [](const char* text) { Throw<Proc::EncoderException>(TESSOR_HERE, text); };
    FailAnew(probe, [&] { fail("first"); });
    Gate gate;
    gate.Hold();
    std::string kept;
    std::thread reader(
        [&]
        {
            try
            {
                probe->Read();
            }
            catch (Proc::EncoderException& e)
            {
                e << TagDescription("annotated");
                gate.Pass();
                kept = Describe(e);
            }
        });
    gate.AwaitHeld();
    EXPECT_EQ(ReadSome(probe, 1), "!(first)") << "what the other one adds is not seen here";
    FailAnew(probe, [&] { fail("second"); });
    EXPECT_EQ(ReadSome(probe, 1), "!(second)");
    gate.Release();
    reader.join();
    EXPECT_EQ(kept, "annotated") << "nor is it lost when another failure takes the place of the stored one";
}

TEST(StreamImplBackground, AReaderWakesWhenTheThreadEndsByItself)
{
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("0 40"), true);
    probe->beforeRead = [] { throw boost::thread_interrupted(); };
    EXPECT_EQ(ReadAll(probe), "E");
    EXPECT_FALSE(probe->IsTerminated());
    EXPECT_EQ(probe->GetPosition(), NoTime);
    probe->StopThread();
    probe->beforeRead = [] {};
    EXPECT_EQ(ReadAll(probe), "0 40 E");
}

TEST(StreamImplBackground, TheThreadCantJoinItself)
{
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("0"), true);
    probe->beforeRead = [&] { probe->StopThread(); };
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(probe->Read(), boost::thread_resource_error);
}

TEST(StreamImplBackground, AnInterruptedCallerStillWaitsForTheThread)
{
    const SP<Probe> source = Probe::Create(ScriptedVideo::Create("0 40 80"));
    const SP<Probe> probe = Probe::Create(source, true);
    EXPECT_EQ(ReadSome(probe, 1), "0");
    source->gate.Hold();
    boost::thread caller([&] { Seek(probe, 40 * ms); });
    caller.interrupt();
    source->gate.Release();
    caller.join();
    EXPECT_EQ(ReadAll(probe), "40 80 E");
}

/// A reader, whose walk is random, against a thread that terminates at random times.
struct RandomWalk
{
    explicit RandomWalk(unsigned seed) : random(seed)
    {
        std::atomic<bool> stop{false};
        std::thread terminator(
            [this, &stop, delay = random() % 300]
            {
                while (!stop)
                {
                    std::this_thread::sleep_for(std::chrono::microseconds(delay));
                    probe->Terminate();
                }
            });
        for (int step = 0; step < 60; ++step)
            Step();
        stop = true;
        terminator.join();
        EXPECT_FALSE(probe->readTwice);
    }

    static constexpr int count = 20;

    void Step()
    {
        switch (random() % 8)
        {
        case 0:
            expected = static_cast<int>(random() % (count + 1));
            Seek(probe, expected * 40 * ms);
            break;
        case 1:
            probe->ReleaseInternalData();
            expected = -1; // what the look-ahead held is lost
            break;
        case 2:
            CheckTime(probe->GetPosition());
            break;
        default:
            if (const SP<Proc::IDataVideo> item = probe->Read())
            {
                CheckTime(item->GetPTS());
                expected = static_cast<int>(item->GetPTS() / (40 * ms)) + 1;
            }
        }
    }

    void CheckTime(avTime time) const
    {
        EXPECT_TRUE(expected < 0 || time == NoTime || time == expected * 40 * ms) << time << " of " << expected;
    }

    std::mt19937 random;
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create(Regular(count)), true);
    int expected = 0; // index of the next item, -1 when it is unknown
};

TEST(StreamImplBackground, KeepsItsOrderUnderRandomSchedules)
{
    for (unsigned seed = 1; seed <= 60; ++seed)
    {
        SCOPED_TRACE(seed);
        RandomWalk walk(seed);
    }
}

} // namespace
} // namespace Tessor::Test
