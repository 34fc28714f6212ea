#pragma once

#include "tests/support/Decorators.h"
#include "tests/support/ScriptedStream.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace Tessor::Test
{

/// What every filter must keep to, however it is used: random reads, seeks, visits, terminations and failures of the
/// parent, against what one reading from start to end gives. A filter joins by one line:
///
///     CheckConformance<IStreamVideo>("0 40 80", [](const SP<IStreamVideo>& s) { return FilterX::Create(s, settings);
///     });
///
/// It must deliver the same items at the same times however it was reached: a seek leads to the item that holds the
/// target (packets: to the last key frame at or before it, which is why the script's packets are in order of time).
template <class ParentKind>
class Conformance
{
public:
    using MakeFilter = std::function<SP<Proc::IStream>(const SP<ParentKind>&)>;

    Conformance(const SP<ScriptedStream<ParentKind>>& script, const MakeFilter& make, unsigned seed)
        : random(seed), source(script), faulty(FaultySource<ParentKind>::Create(source, 0)), filter(make(faulty))
    {
        for (SP<Proc::IData> item; (item = filter->ReadStream());)
            expected.push_back(DescribeItem(*item));
        Seek(0);
    }

    void Run(int steps)
    {
        for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i)
            Step();
    }

private:
    void Step()
    {
        switch (random() % 16)
        {
        case 0:
        case 1:
        case 2:
            return Seek(RandomTime());
        case 3:
            filter->RequestSeek(RandomTime(), nullptr);
            return Seek(RandomTime());
        case 4:
            return CheckPosition();
        case 5:
            return CheckVisit();
        case 6:
            return CheckTermination();
        case 7:
            return CheckFailure();
        case 8:
            filter->ReleaseInternalData();
            return Seek(RandomTime());
        case 9:
            EXPECT_EQ(filter->GetStatistic(), filter->GetStatistic());
            return;
        default:
            CheckRead();
        }
    }

    avTime RandomTime()
    {
        const avTime end = expected.empty() ? 0 : AddTime(expected.back().pts, expected.back().duration);
        return static_cast<avTime>(random() % static_cast<unsigned>(end + 100 * ms + 1));
    }

    void Seek(avTime target)
    {
        filter->RequestSeek(target, nullptr);
        filter->DoSeek();
        EXPECT_TRUE(filter->GetSeekResult());
        EXPECT_FALSE(filter->IsTerminated());
        next = FindPlace(target);
        afterSeek = true;
    }

    size_t FindPlace(avTime target) const
    {
        size_t place = 0;
        if constexpr (std::is_same_v<ParentKind, Proc::IStreamRaw>)
        {
            for (size_t i = 0; i < expected.size(); ++i)
                if (expected[i].key && expected[i].pts <= target)
                    place = i;
        }
        else
            while (place < expected.size() && AddTime(expected[place].pts, expected[place].duration) <= target)
                ++place;
        return place;
    }

    void CheckRead()
    {
        const SP<Proc::IData> item = filter->ReadStream();
        if (next == expected.size())
        {
            EXPECT_FALSE(item) << "the end stays the end";
            return;
        }
        ASSERT_TRUE(item);
        EXPECT_EQ(PrintScript({DescribeItem(*item)}, true), PrintScript({expected[next]}, true));
        EXPECT_EQ(filter->GetPosition(), AddTime(item->GetPTS(), item->GetDuration()));
        ++next;
        afterSeek = false;
    }

    void CheckPosition()
    {
        if (afterSeek)
            EXPECT_EQ(filter->GetPosition(), next < expected.size() ? expected[next].pts : NoTime);
        else
            EXPECT_EQ(filter->GetPosition(), AddTime(expected[next - 1].pts, expected[next - 1].duration));
    }

    void CheckVisit()
    {
        Proc::Visitors::InfoCollector names;
        filter->Accept(names);
        ASSERT_GE(names.GetElements().size(), 3u);
        EXPECT_EQ(names.GetElements().back(), "Scripted") << "the walk reaches the source";
    }

    void CheckTermination()
    {
        filter->Terminate();
        EXPECT_TRUE(filter->IsTerminated());
        EXPECT_TRUE(source->IsTerminated());
        filter->ReadStream(); // an item or the end, as the filter likes
        Seek(RandomTime());
        EXPECT_FALSE(source->IsTerminated());
    }

    /// The parent fails in one of the next reads; the filter passes that on, survives another read, and is right again
    /// after a seek.
    void CheckFailure()
    {
        Seek(RandomTime());
        faulty->FailIn(1 + static_cast<int>(random() % 3));
        try
        {
            while (filter->ReadStream())
            {
            }
        }
        catch (const Proc::FilterException& e)
        {
            EXPECT_EQ(Describe(e), "scripted failure");
            filter->ReadStream();
        }
        faulty->FailIn(0);
        Seek(RandomTime());
    }

    std::mt19937 random;
    const SP<ScriptedStream<ParentKind>> source;
    const SP<FaultySource<ParentKind>> faulty;
    const SP<Proc::IStream> filter;
    Script expected;       // all items, as one reading from start to end gives them
    size_t next = 0;       // index of the item that the next read must give
    bool afterSeek = true; // nothing was read since
};

inline SP<ScriptedStream<Proc::IStreamVideo>> MakeScripted(const std::string& script, const Proc::IStreamVideo*)
{
    return ScriptedVideo::Create(script);
}
inline SP<ScriptedStream<Proc::IStreamAudio>> MakeScripted(const std::string& script, const Proc::IStreamAudio*)
{
    return ScriptedAudio::Create(script);
}
inline SP<ScriptedStream<Proc::IStreamSubtitle>> MakeScripted(const std::string& script, const Proc::IStreamSubtitle*)
{
    return ScriptedSubtitle::Create(script);
}
inline SP<ScriptedStream<Proc::IStreamRaw>> MakeScripted(const std::string& script, const Proc::IStreamRaw*)
{
    return ScriptedRaw::Create(script);
}

template <class ParentKind>
void CheckConformance(const std::string& script, const typename Conformance<ParentKind>::MakeFilter& make)
{
    for (unsigned seed = 1; seed <= 20 && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Conformance<ParentKind>(MakeScripted(script, static_cast<ParentKind*>(nullptr)), make, seed).Run(200);
    }
}

} // namespace Tessor::Test
