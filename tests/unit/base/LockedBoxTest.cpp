#include "base/LockedBox.h"

#include "base/ResumeOnce.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace zelvo {

namespace {

void onManyThreads(std::function<void()> work)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back(work);
    for (auto& thread : threads)
        thread.join();
}

TEST(LockedBox, beginsEmptyOrWithAValue)
{
    EXPECT_EQ(LockedBox<int>().get(), 0);
    EXPECT_EQ(LockedBox<std::string>("a").get(), "a");
}

TEST(LockedBox, losesNoChangeAndShowsNoHalfOne)
{
    LockedBox<std::pair<int, int>> box;

    onManyThreads([&] {
        for (int times = 0; times < 1000; ++times) {
            box.change([](auto& both) {
                ++both.first;
                ++both.second;
            });
            auto const seen = box.get();
            EXPECT_EQ(seen.first, seen.second);
        }
    });

    EXPECT_EQ(box.get(), std::pair(4000, 4000));
    box.set({1, 2});
    EXPECT_EQ(box.get(), std::pair(1, 2));
}

TEST(ResumeOnce, isClaimedByExactlyOne)
{
    for (int times = 0; times < 100; ++times) {
        ResumeOnce once;
        std::atomic<int> claims = 0;
        onManyThreads([&] { claims += once.claim() ? 1 : 0; });
        EXPECT_EQ(claims, 1);
        EXPECT_FALSE(once.claim());
    }
}

} // namespace

} // namespace zelvo
