// SPDX-License-Identifier: GPL-2.0-or-later
// A service that is killed and started again and again.
#include <contract/tfs/tasks.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>

namespace tfs::test {

using namespace std::chrono_literals;

TEST(RestartTest, FiftyKillsLeaveNoThreadAndNoDescriptor) {
    TempFolder folder;
    const std::string path = folder.File("socket");
    const auto round = [&] {
        ServerProcess process(path);
        Client client(path);
        ASSERT_EQ(client.result, ulk::sOk);
        const auto manager = client.Get<ITfsTaskManager>();
        const auto subscriber = client.Get<IEventSubscriber>();
        const auto receiver = ulk::Ptr<Receiver>::Adopt(new Receiver());
        ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
        EXPECT_EQ(manager->StartTask(u"2"), ulk::sOk);
        process.Publish(3);
        EXPECT_TRUE(WaitFor([&] { return receiver->Count() == 3; }, 5s));
        process.Kill();
        const auto killed = std::chrono::steady_clock::now();
        EXPECT_TRUE(WaitFor([&] { return !client.IsAlive(); }, 2s));
        EXPECT_LT(std::chrono::steady_clock::now() - killed, 1s);
        EXPECT_EQ(manager->StartTask(u"2"), ulk::eNotReady);
        EXPECT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::eNotReady);
    };
    round(); // what is made once for the process
    const std::size_t threads = RunningThreads();
    const std::size_t descriptors = OpenDescriptors();
    for (int i = 0; i < 50 && !::testing::Test::HasFatalFailure(); ++i)
        round();
    EXPECT_EQ(RunningThreads(), threads);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

} // namespace tfs::test
