#include "Fnd/Lockable.h"
#include "Fnd/RefCount.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Tessor;

namespace
{

struct Thing final : public RefCountImpl
{
    explicit Thing(std::atomic<int>& alive) : alive(alive) { ++alive; }
    Thing(const Thing& other) : IRefCountable(other), RefCountImpl(other), alive(other.alive) { ++alive; }
    ~Thing() override { --alive; }

    std::atomic<int>& alive;
};

struct Locked final : public ILockable, public LockImpl
{
    void Lock() override { Lock_Impl(); }
    bool TryLock() override { return TryLock_Impl(); }
    void Unlock() override { Unlock_Impl(); }
};

bool OthersGetIt(Locked& locked)
{
    bool taken = false;
    std::thread([&] { taken = locked.TryLock() && (locked.Unlock(), true); }).join();
    return taken;
}

} // namespace

TEST(RefCount, CountsHoldersOfAllThreadsAndDeletes)
{
    std::atomic<int> alive{0};
    std::vector<std::thread> threads;
    {
        const SP<Thing> shared(new Thing(alive));
        const SP<const IRefCountable> other(shared);
        const SP<Thing> copy(new Thing(*shared));
        EXPECT_EQ(shared->GetRefCount(), 2);
        EXPECT_EQ(copy->GetRefCount(), 1) << "a copy starts anew";
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(
                [held = SP<IRefCountable>(shared)]() mutable
                {
                    for (int round = 0; round < 20000; ++round)
                        SP<IRefCountable> another(held);
                    held.reset();
                });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(alive, 0);
}

TEST(Lock, IsRecursiveAndKeepsOthersOut)
{
    Locked locked;
    EXPECT_TRUE(OthersGetIt(locked));
    {
        AutoLock outer(&locked);
        {
            AutoLock inner(&locked);
            EXPECT_FALSE(OthersGetIt(locked));
        }
        EXPECT_FALSE(OthersGetIt(locked));
    }
    EXPECT_TRUE(OthersGetIt(locked));
}
