// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/monotonic_event.h>
#include <foundation/thread_runnable.h>

#include <gtest/gtest.h>
#include <thread>

namespace ulk {
namespace {

using std::chrono::milliseconds;
using Wait = MonotonicEvent::Wait;

timespec FromNow(milliseconds delay) {
    timespec now{};
    EXPECT_EQ(ReadMonotonicClock(now), sOk);
    return After(now, delay);
}

TEST(MonotonicEvent, endsAWaitAtItsMomentAndNotBefore) {
    MonotonicEvent event(false);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(event.WaitUntil(FromNow(milliseconds(30))), Wait::TimedOut);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(30));
    EXPECT_EQ(event.WaitUntil({}), Wait::TimedOut) << "a moment that has passed";
}

TEST(MonotonicEvent, wakesEveryWaiterAndStaysUnlessItResetsItself) {
    for (const bool autoReset : {false, true}) {
        MonotonicEvent event(autoReset);
        Wait seen = Wait::Failed;
        std::thread waiter([&] { seen = event.WaitUntil(FromNow(std::chrono::minutes(1))); });
        event.Set();
        waiter.join();
        EXPECT_EQ(seen, Wait::Set);
        EXPECT_EQ(event.WaitUntil(FromNow(milliseconds(1))), autoReset ? Wait::TimedOut : Wait::Set);
    }
}

TEST(MonotonicEvent, tellsAWaitThatIsNotPossibleFromALapsedOne) {
    MonotonicEvent event(false);
    EXPECT_EQ(event.WaitUntil({.tv_sec = 1, .tv_nsec = 1'000'000'000}), Wait::Failed);
    event.Set();
    EXPECT_EQ(event.WaitUntil({.tv_sec = 1, .tv_nsec = -1}), Wait::Set);
}

TEST(MonotonicClock, carriesNanosecondsOverToTheNextSecond) {
    const timespec moment = After({.tv_sec = 7, .tv_nsec = 999'000'000}, milliseconds(5001));
    EXPECT_EQ(moment.tv_sec, 13);
    EXPECT_EQ(moment.tv_nsec, 0);
}

TEST(ThreadRunnableMemFn, callsTheFunctionOnItsObject) {
    struct Counter {
        int Run() { return ++calls; }
        int calls = 0;
    } counter;
    const detail::ThreadRunnableMemFn runnable(&counter, &Counter::Run);
    EXPECT_EQ(runnable(), 1);
    std::thread(runnable).join();
    EXPECT_EQ(counter.calls, 2);
}

} // namespace
} // namespace ulk
