// SPDX-License-Identifier: GPL-2.0-or-later
// More clients than there is place for, and a socket that breaks.
#include <contract/tfs/tasks.h>
#include <service/rpc/connection_quota.h>
#include <service/rpc/refusal_log.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/library_client.h>
#include <tests/unit/remoting/listening_descriptor.h>
#include <tests/unit/remoting/raw_peer.h>
#include <tests/unit/remoting/test_client.h>
#include <tests/unit/tfs_common/recording_tracer.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace tfs::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using service::rpc::ConnectionQuota;
using service::rpc::RefusalLog;

TEST(ConnectionQuotaTest, CountsUsersAndAllAndKeepsPlacesForRoot) {
    ConnectionQuota quota({5, 2, 2});
    auto first = quota.Take(1000);
    auto second = quota.Take(1000);
    EXPECT_TRUE(first && second);
    EXPECT_FALSE(quota.Take(1000)) << "a user has two";
    EXPECT_TRUE(quota.Take(1001)) << "and gives his place back at once";
    auto third = quota.Take(1001);
    EXPECT_FALSE(quota.Take(1002)) << "what is left is root's";
    auto roots = quota.Take(0);
    auto rootsOther = quota.Take(0);
    EXPECT_TRUE(roots && rootsOther);
    EXPECT_FALSE(quota.Take(0));
    const auto moved = std::move(first);
    EXPECT_FALSE(quota.Take(1000)) << "a place that has moved is still taken";
    roots = ConnectionQuota::Place();
    rootsOther = ConnectionQuota::Place();
    second = ConnectionQuota::Place();
    EXPECT_TRUE(quota.Take(1000));
}

TEST(RefusalLogTest, WritesALineForEachUserAndRound) {
    const auto tracer = ulk::Ptr<::test::RecordingTracer>::Adopt(new ::test::RecordingTracer());
    RefusalLog log(tracer.Get());
    const std::string begin = "700 rpc: too many connections, ";
    EXPECT_TRUE(log.Note(7, 70));
    EXPECT_FALSE(log.Note(7, 71));
    EXPECT_FALSE(log.Note(8, 80));
    EXPECT_TRUE(log.EndRound()) << "both lines are younger than a round";
    EXPECT_FALSE(log.Note(7, 72));
    std::vector<std::string> expected{begin + "one of user 7 (process 70) is refused",
                                      begin + "one of user 8 (process 80) is refused"};
    EXPECT_EQ(tracer->Lines(), expected);
    EXPECT_TRUE(log.EndRound());
    expected.push_back(begin + "2 more of user 7 were refused");
    EXPECT_EQ(tracer->Lines(), expected);
    EXPECT_FALSE(log.EndRound());
    EXPECT_EQ(tracer->Lines(), expected);
    EXPECT_TRUE(log.Note(7, 73)) << "it begins anew";

    for (uid_t uid = 100'000; uid < 165'000; ++uid)
        log.Note(uid, 1);
    log.EndRound();
    EXPECT_LT(tracer->Lines().size(), 100u) << "one person's many user numbers";
}

class AcceptingTest : public ::testing::Test {
protected:
    void Start() {
        options.socketPath = path;
        options.onFailure = [this](result_t result) {
            failure = result;
            ++failures;
        };
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, tracer.Get());
        ASSERT_EQ(server->Start(), ulk::sOk);
    }
    std::size_t Admitted() const {
        const auto lines = tracer->Lines();
        return static_cast<std::size_t>(std::count_if(
            lines.begin(), lines.end(), [](const auto& line) { return line.find("connected") != std::string::npos; }));
    }
    /// How many refusals the trace tells of.
    std::size_t ToldRefusals() const {
        std::size_t told = 0;
        const std::regex more(", ([0-9]+) more of user");
        std::smatch number;
        for (const std::string& line : tracer->Lines())
            told += std::regex_search(line, number, more) ? std::stoul(number[1])
                                                          : std::size_t{line.ends_with("is refused")};
        return told;
    }

    TempFolder folder;
    const std::string path = folder.File("socket");
    FakeService service;
    FakeFeed feed{64};
    const ulk::Ptr<::test::RecordingTracer> tracer =
        ulk::Ptr<::test::RecordingTracer>::Adopt(new ::test::RecordingTracer());
    std::atomic<result_t> failure{ulk::sOk};
    std::atomic<int> failures{0};
    service::rpc::RpcServer::Options options;
    std::unique_ptr<service::rpc::RpcServer> server;
};

TEST_F(AcceptingTest, ARefusedClientIsToldWhy) {
    options.connectionsPerUser = 2;
    Start();
    Client first(path);
    auto second = std::make_unique<Client>(path);
    ASSERT_EQ(second->result, ulk::sOk);
    Client third(path);
    EXPECT_EQ(third.result, ulk::eInsufficientResources);
    EXPECT_EQ(server->Figures().connections, 2u);
    second.reset();
    EXPECT_TRUE(WaitFor([this] { return ULK_SUCCEEDED(Client(path).result); }, 2s));
    EXPECT_TRUE(first.IsAlive());
}

TEST_F(AcceptingTest, ManyRefusalsAreFewLinesThatTellOfAll) {
    options.connectionsPerUser = 1;
    Start();
    const Client first(path);
    const auto start = Clock::now();
    constexpr std::size_t Refused = 500;
    for (std::size_t i = 0; i < Refused; ++i)
        EXPECT_TRUE(RawClient(path).IsConnected());
    EXPECT_TRUE(WaitFor([this] { return ToldRefusals() == Refused; }, 10s)) << ToldRefusals();
    const auto seconds = static_cast<std::size_t>((Clock::now() - start) / 1s);
    const auto lines = tracer->Lines();
    const auto count = std::count_if(lines.begin(), lines.end(), [](const auto& line) {
        return line.starts_with("700 ") && line.find("refused") != std::string::npos;
    });
    EXPECT_LE(static_cast<std::size_t>(count), seconds + 1);
}

// A socket that answers nobody is worse than none.
TEST_F(AcceptingTest, ABrokenSocketIsClosedAndReported) {
    Start();
    Client client(path);
    ASSERT_EQ(client.result, ulk::sOk);
    {
        const BrokenSocket broken(path);
        EXPECT_TRUE(WaitFor([this] { return failures == 1; }));
    }
    EXPECT_TRUE(ULK_FAILED(failure.load()));
    EXPECT_TRUE(tracer->Has("300 rpc: the loop ended: "));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(ListeningDescriptor(path), -1);
    EXPECT_TRUE(WaitFor([&] { return !client.IsAlive(); }, 2s));
    EXPECT_EQ(Client(path).result, ulk::eNotReady);
    EXPECT_EQ(server->Figures().connections, 0u);
    EXPECT_EQ(server->Start(), ulk::eInvalidState);
    server->Stop();
    ASSERT_EQ(server->Start(), ulk::sOk);
    EXPECT_EQ(Client(path).result, ulk::sOk);
    server->Stop();
    EXPECT_EQ(failures, 1) << "a stop is no failure";
}

// Hundreds who come at once must not keep those waiting who are served already.
TEST_F(AcceptingTest, AQueueOfNewcomersIsLetInByParts) {
    constexpr std::size_t Newcomers = 120;
    options.connectionsPerUser = 2 * Newcomers;
    Start();
    std::atomic<bool> holding{false};
    std::atomic<bool> release{false};
    std::atomic<std::size_t> admittedBefore{0};
    service.during = [&] {
        if (service.Last().text == u"hold") {
            holding = true;
            WaitFor([&] { return release.load(); });
        } else {
            admittedBefore = Admitted();
        }
    };
    LibraryClient waiting(path);
    auto manager = waiting.Get(ITfsTaskManager::Iid).castAs<wire::schema::TaskManager>();
    std::thread holder([this] {
        Client client(path);
        EXPECT_EQ(client.Get<ITfsTaskManager>()->StartTask(u"hold"), ulk::sOk);
    });
    ASSERT_TRUE(WaitFor([&] { return holding.load(); }));
    const std::size_t before = Admitted();
    std::vector<std::unique_ptr<RawClient>> newcomers;
    for (std::size_t i = 0; i < Newcomers; ++i)
        newcomers.push_back(std::make_unique<RawClient>(path));
    auto call = manager.startTaskRequest().send();
    waiting.Scope().poll();
    release = true;
    EXPECT_EQ(call.wait(waiting.Scope()).getResult(), ulk::sOk);
    holder.join();
    EXPECT_LE(admittedBefore - before, 64u);
    EXPECT_TRUE(WaitFor([&] { return Admitted() == before + Newcomers; }));
}

std::size_t DescriptorsOf(pid_t pid) {
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// The number that the next descriptor gets.
std::size_t FirstFreeDescriptor(pid_t pid) {
    std::size_t number = 0;
    while (std::filesystem::is_symlink("/proc/" + std::to_string(pid) + "/fd/" + std::to_string(number)))
        ++number;
    return number;
}

void LimitDescriptors(pid_t pid, std::size_t limit) {
    rlimit value{};
    ASSERT_EQ(::prlimit(pid, RLIMIT_NOFILE, nullptr, &value), 0);
    value.rlim_cur = std::min<rlim_t>(limit, value.rlim_max);
    ASSERT_EQ(::prlimit(pid, RLIMIT_NOFILE, &value, nullptr), 0);
}

/// Of both kinds, in clock ticks.
long ProcessorTime(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string word;
    for (int i = 0; i < 13; ++i) // the program's name has no blank in it
        file >> word;
    long user = 0;
    long kernel = 0;
    file >> user >> kernel;
    return user + kernel;
}

TEST(ServiceProcessTest, AThousandIdleConnectionsCostAFewDescriptors) {
    TempFolder folder;
    const std::string path = folder.File("socket");
    LimitDescriptors(0, 4096);
    ServerProcess process(path);
    const std::size_t before = DescriptorsOf(process.Pid());
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 1000; ++i)
        idle.push_back(std::make_unique<RawClient>(path));
    EXPECT_TRUE(idle.back()->IsClosedWithin(2s));
    EXPECT_LE(DescriptorsOf(process.Pid()), before + 16 + 16);
    idle.clear();
    EXPECT_TRUE(WaitFor([&] { return ULK_SUCCEEDED(Client(path).result); }));
}

TEST(ServiceProcessTest, WithoutDescriptorsClientsWaitAndTheServiceDoesntSpin) {
    TempFolder folder;
    const std::string path = folder.File("socket");
    ServerProcess process(path);
    LimitDescriptors(process.Pid(), FirstFreeDescriptor(process.Pid()));
    auto settings = Settings(path);
    settings.connectTimeoutMs = 1000;
    const long before = ProcessorTime(process.Pid());
    EXPECT_EQ(Client(settings).result, ulk::eTimeout);
    EXPECT_LT(ProcessorTime(process.Pid()) - before, ::sysconf(_SC_CLK_TCK) / 4);
    LimitDescriptors(process.Pid(), 1024);
    EXPECT_TRUE(WaitFor([&] { return ULK_SUCCEEDED(Client(settings).result); }));
}

} // namespace tfs::test
