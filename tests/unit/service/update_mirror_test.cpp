// SPDX-License-Identifier: GPL-2.0-or-later
// Updates from the network, with the real updater: mirrors that serve, fail, stall, send rubbish or are not there.
#include <tests/unit/service/small_mirror.h>
#include <tests/unit/service/update_fixture.h>

#include <cerrno>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tfs::service::update {
namespace {

using tests::SmallMirror;

SmallMirror::Answer Serve(const std::string& path) {
    if (path.starts_with("/good/"))
        return {200, NewSignature};
    if (path.starts_with("/fails/"))
        return {500, "broken"};
    if (path.starts_with("/rubbish/"))
        return {200, std::string(20000, '\x1b') + "[31m\n"};
    if (path.starts_with("/busy/"))
        return {429, "too many requests"};
    if (path.starts_with("/slow/"))
        return {200, "", true};
    if (path.starts_with("/endless/"))
        return {200, std::string(65536, 'x'), false, true};
    return {404, "missing"};
}

class UpdateMirrors : public UpdateFixture {
protected:
    SmallMirror m_mirror{Serve};
};

TEST_F(UpdateMirrors, FileFromTheNetworkJoinsTheSet) {
    const UpdateSettings settings = From({m_mirror.Url("/good/new.ndb")});
    ASSERT_EQ(Update(settings), tasks::RunEnd::Completed) << m_host->outcome.error;
    EXPECT_EQ(Content(Current("new.ndb")), NewSignature);
    EXPECT_EQ(Content(Current("seed.ndb")), SeedSignature);
    ASSERT_EQ(Update(settings), tasks::RunEnd::Completed) << m_host->outcome.error;
    EXPECT_EQ(m_host->Types().back(), EventName::NothingToUpdate);
    EXPECT_EQ(m_user.folders.size(), 1u);
}

TEST_F(UpdateMirrors, FailuresAreToldAndChangeNothing) {
    m_config.programs.maxFileBytes = 1 << 20;
    Open();
    std::string refused;
    {
        const SmallMirror gone(Serve);
        refused = gone.Url("");
    }
    const std::pair<std::string, const char*> rows[] = {
        {m_mirror.Url("/fails/new.ndb"), "500"},
        {m_mirror.Url("/missing/new.ndb"), "download"},
        {m_mirror.Url("/rubbish/new.ndb"), "new.ndb: Failed to load"},
        {m_mirror.Url("/slow/new.ndb"), "Timeout"},
        {m_mirror.Url("/endless/new.ndb"), "Failed writing"},
        {refused + "/new.ndb", "Couldn't connect"},
        {refused, "Couldn't connect"},
        {m_mirror.Url("/fails"), "500"},
        {m_mirror.Url("/rubbish"), "Malformed CVD header"},
        {m_mirror.Url("/slow"), "Timeout"},
        {m_mirror.Url("/nothing"), "daily"},
    };
    for (const auto& [url, reason] : rows) {
        UpdateSettings settings = From({url});
        settings.connectionTimeout = 1;
        Update(settings);
        ExpectFailure(reason, url);
    }
}

TEST_F(UpdateMirrors, UpdaterRemembersThatItIsToStayAway) {
    Update(From({m_mirror.Url("/nothing")}));
    const std::string memory = Content(m_folder.File("bases/freshclam.dat"));
    ASSERT_FALSE(memory.empty());
    Update(From({m_mirror.Url("/busy")}));
    ExpectFailure("CVD header", "busy");
    EXPECT_NE(Content(m_folder.File("bases/freshclam.dat")), memory);
    const int requests = m_mirror.Requests();
    Update(From({m_mirror.Url("/nothing")}));
    EXPECT_EQ(m_mirror.Requests(), requests);
    ExpectFailure("no further update before", "not even asked");
}

TEST_F(UpdateMirrors, NextSourceIsTakenWhereOneFails) {
    m_folder.Write("source/new.ndb", NewSignature);
    const std::string bad = m_mirror.Url("/rubbish/bad.ndb");
    ASSERT_EQ(Update(From({bad, Source()})), tasks::RunEnd::Completed) << m_host->outcome.error;
    EXPECT_EQ(m_host->Types(),
              (std::vector{EventName::UpdateSourceSelected, EventName::FileUpdateStarted,
                           EventName::UpdateSourceSelected, EventName::FileUpdateStarted, EventName::ModuleDownloaded,
                           EventName::FileUpdateFinished, EventName::AVBasesAttached}));
    EXPECT_EQ(m_host->Text(EventName::FileUpdateFinished, AdditionalName::FileName), "new.ndb");
    EXPECT_EQ(Content(Current("new.ndb")), NewSignature);
    EXPECT_EQ(Content(Current("bad.ndb")), "");
}

TEST_F(UpdateMirrors, StopEndsAllAtOnce) {
    FakeHost host;
    UpdateSettings settings = From({m_mirror.Url("/slow/new.ndb"), m_mirror.Url("/good/other.ndb")});
    settings.connectionTimeout = 60;
    const auto run = UpdateRunFactory(*m_area, m_user).MakeRun(Order(settings), host);
    std::thread worker([&] { run->Execute(); });
    EXPECT_TRUE(Eventually([this] { return m_mirror.Requests() == 1; }));
    const auto begin = std::chrono::steady_clock::now();
    run->Stop();
    worker.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(host.outcome.end, tasks::RunEnd::Stopped);
    EXPECT_EQ(host.Types(), std::vector{EventName::UpdateSourceSelected}) << "the next source isn't tried";
    EXPECT_EQ(Sets(), std::set<std::string>{"1"});
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD) << "all children are reaped";
    EXPECT_TRUE(Eventually([this] { return m_mirror.LeftAlone() == 1; }));
}

TEST_F(UpdateMirrors, UpdaterDiesWithTheService) {
    UpdateSettings settings = From({m_mirror.Url("/slow/new.ndb")});
    settings.connectionTimeout = 60;
    const pid_t service = ::fork();
    if (service == 0) {
        FakeHost host;
        UpdateRunFactory(*m_area, m_user).MakeRun(Order(settings), host)->Execute();
        ::_exit(0);
    }
    EXPECT_TRUE(Eventually([this] { return m_mirror.Requests() == 1; }));
    ::kill(service, SIGKILL);
    ::waitpid(service, nullptr, 0);
    EXPECT_TRUE(Eventually([this] { return m_mirror.LeftAlone() == 1; }, std::chrono::seconds(5)));
    Open();
    EXPECT_EQ(Sets(), std::set<std::string>{"1"}) << "what it had begun is gone";
    m_folder.Write("source/new.ndb", NewSignature);
    EXPECT_EQ(Update(From({Source()})), tasks::RunEnd::Completed);
}

} // namespace
} // namespace tfs::service::update
