// SPDX-License-Identifier: GPL-2.0-or-later
// Runs of the update and the rollback task, with the real updater and a folder as source.
#include <tests/unit/service/killed_child.h>
#include <tests/unit/service/update_fixture.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::service::update {
namespace {

namespace fs = std::filesystem;

class UpdateRuns : public UpdateFixture {};

TEST_F(UpdateRuns, FolderMakesANewSetAndRollbackTakesItBack) {
    m_folder.Write("source/new.ndb", NewSignature);
    m_folder.Write("source/readme.txt", "no signatures");
    const auto age = fs::file_time_type::clock::now() - std::chrono::hours(1000);
    fs::last_write_time(Source("new.ndb"), age);
    const RollbackRunFactory rollbacks(*m_area, m_user);
    EXPECT_FALSE(rollbacks.IsAvailable());

    ASSERT_EQ(Update(From({Source()})), tasks::RunEnd::Completed) << m_host->outcome.error;
    EXPECT_EQ(m_host->Types(),
              (std::vector{EventName::UpdateSourceSelected, EventName::FileUpdateStarted, EventName::ModuleDownloaded,
                           EventName::FileUpdateFinished, EventName::AVBasesAttached}));
    EXPECT_EQ(m_host->Text(EventName::UpdateSourceSelected, AdditionalName::UpdateSource), m_folder.File("source"));
    EXPECT_EQ(m_host->Text(EventName::FileUpdateStarted, AdditionalName::FileName), "new.ndb");
    EXPECT_EQ(m_host->Text(EventName::ModuleDownloaded, AdditionalName::ModuleName), "new.ndb");
    EXPECT_EQ(m_host->Text(EventName::FileUpdateFinished, AdditionalName::FileName), "new.ndb");
    for (const Event& event : m_host->events) {
        std::string text;
        for (const auto& pair : event.additional)
            text += std::to_string(pair.name) + "=" + ulk::types::VariantToString(pair.value) + " ";
        EXPECT_NE(text.find("5=Update 8=6 12=Update 7=42"), std::string::npos) << text;
        EXPECT_EQ(event.initiatorUser->uid, 1000u);
    }
    ASSERT_FALSE(m_host->percents.empty());
    EXPECT_TRUE(std::is_sorted(m_host->percents.begin(), m_host->percents.end()));
    EXPECT_EQ(m_host->percents.back(), 100u);
    ASSERT_FALSE(m_host->progress.empty());
    EXPECT_EQ(m_host->progress.front().type, EventName::UpdateProgressChanged);
    EXPECT_EQ(Content(Current("new.ndb")), NewSignature);
    EXPECT_EQ(Content(Current("seed.ndb")), SeedSignature);
    EXPECT_EQ(fs::last_write_time(Current("new.ndb")), fs::last_write_time(Source("new.ndb")));
    EXPECT_FALSE(fs::exists(Current("readme.txt")));
    EXPECT_EQ(m_user.folders, std::vector{m_folder.File("bases/sets/2")});
    EXPECT_TRUE(rollbacks.IsAvailable());

    ASSERT_EQ(Update(From({"file://" + Source()})), tasks::RunEnd::Completed) << m_host->outcome.error;
    EXPECT_EQ(m_host->Types(), (std::vector{EventName::UpdateSourceSelected, EventName::NothingToUpdate}));
    EXPECT_EQ(m_user.folders.size(), 1u) << "nothing new is loaded";

    ASSERT_EQ(Rollback(), tasks::RunEnd::Completed) << m_host->outcome.error;
    EXPECT_EQ(m_host->Types(), std::vector{EventName::AVBasesRollbackCompleted});
    EXPECT_EQ(m_user.folders.back(), m_folder.File("bases/sets/1"));
    EXPECT_FALSE(fs::exists(Current("new.ndb")));
    EXPECT_FALSE(rollbacks.IsAvailable());
    EXPECT_EQ(Rollback(), tasks::RunEnd::Failed);
    EXPECT_EQ(m_host->Types(), std::vector{EventName::AVBasesRollbackError});
    EXPECT_EQ(Update(From({Source()})), tasks::RunEnd::Completed) << "what was taken back can come again";
}

TEST_F(UpdateRuns, ChangedFilesAreTakenWhateverTheirAge) {
    m_folder.Write("source/new.ndb", NewSignature);
    ASSERT_EQ(Update(From({Source()})), tasks::RunEnd::Completed);
    m_folder.Write("source/new.ndb", "Test.Other:0:*:4f54484552\n");
    fs::last_write_time(Source("new.ndb"), fs::file_time_type::clock::now() - std::chrono::hours(1000));
    ASSERT_EQ(Update(From({Source()})), tasks::RunEnd::Completed);
    EXPECT_EQ(Content(Current("new.ndb")), "Test.Other:0:*:4f54484552\n");
}

TEST_F(UpdateRuns, BadFoldersAreToldAndChangeNothing) {
    const std::string file = Source("new.ndb");
    struct Row {
        const char* name;
        std::function<bool()> make; ///< false where it can't be made here
        const char* reason;
    };
    const Row rows[] = {
        {"no file", [&] { return fs::remove(file); }, "holds no signature files"},
        {"missing folder", [&] { return fs::remove_all(Source()) > 0; }, "No such file"},
        {"damaged", [&] { return m_folder.Write("source/new.ndb", "rubbish\n"), true; }, "new.ndb: Failed to load"},
        {"damaged beside a good one", [&] { return m_folder.Write("source/z.ldb", "x;y\n"), true; }, "z.ldb"},
        {"empty", [&] { return m_folder.Write("source/new.ndb", ""), true; }, "new.ndb is empty"},
        {"huge", [&] { return fs::resize_file(file, std::uintmax_t{1} << 40), true; }, "new.ndb is larger"},
        {"larger than allowed", [&] { return fs::resize_file(file, 5000), true; }, "new.ndb is too large"},
        {"link", [&] { return fs::rename(file, file + "1"), fs::create_symlink(file + "1", file), true; }, "is a link"},
        {"pipe", [&] { return fs::remove(file) && ::mkfifo(file.c_str(), 0644) == 0; }, "is no regular file"},
        {"foreign", [&] { return ::geteuid() == 0 && ::chown(file.c_str(), 4711, 4711) == 0; }, "another user"},
        {"written by all", [&] { return ::chmod(file.c_str(), 0666) == 0; }, "every user"},
        {"unreadable", [&] { return ::geteuid() != 0 && ::chmod(file.c_str(), 0) == 0; }, "Permission denied"},
        {"hostile name", [&] { return m_folder.Write("source/a\n\x1b[31m b.ndb", "x"), true; }, "can't be used"},
        {"too many files",
         [&] {
             for (int i = 0; i < 5; ++i)
                 m_folder.Write("source/" + std::to_string(i) + ".ndb", NewSignature);
             return true;
         },
         "too many signatures"},
        {"too many entries",
         [&] {
             for (int i = 0; i < 20; ++i)
                 m_folder.Write("source/" + std::to_string(i), "");
             return true;
         },
         "too many files"},
    };
    m_config.limits.files = 4;
    m_config.limits.entries = 20;
    m_config.limits.fileBytes = 4096;
    Open();
    for (const Row& row : rows) {
        fs::remove_all(Source());
        fs::create_directory(Source());
        m_folder.Write("source/new.ndb", NewSignature);
        if (!row.make())
            continue;
        Update(From({Source()}));
        ExpectFailure(row.reason, row.name);
    }
}

TEST_F(UpdateRuns, SetThatDoesNotLoadIsRefused) {
    m_folder.Write("source/new.ndb", NewSignature);
    m_user.result = ulk::eNotReady;
    m_user.reason = "the signatures\n\x1b[31mcan't be loaded";
    EXPECT_EQ(Update(From({Source()})), tasks::RunEnd::Failed);
    EXPECT_EQ(m_host->Types().back(), EventName::UpdateError);
    EXPECT_EQ(m_host->Text(EventName::AVBasesIntegrityCheckFailed, AdditionalName::Information),
              m_host->Text(EventName::UpdateError, AdditionalName::Reason));
    EXPECT_EQ(m_host->outcome.error.find('\n'), std::string::npos);
    EXPECT_EQ(Sets(), std::set<std::string>{"1"});

    m_user.result = ulk::sOk;
    ASSERT_EQ(Update(From({Source()})), tasks::RunEnd::Completed);
    m_user.result = ulk::eNotReady;
    EXPECT_EQ(Rollback(), tasks::RunEnd::Failed);
    EXPECT_EQ(m_host->Types(), (std::vector{EventName::AVBasesIntegrityCheckFailed, EventName::AVBasesRollbackError}));
    EXPECT_TRUE(m_area->IsRollbackAvailable());
    EXPECT_EQ(Content(Current("new.ndb")), NewSignature);
}

TEST_F(UpdateRuns, StoppedWhileItLoadsLeavesTheOldSet) {
    m_folder.Write("source/new.ndb", NewSignature);
    m_user.waits = true;
    FakeHost host;
    const auto run = UpdateRunFactory(*m_area, m_user).MakeRun(Order(From({Source()})), host);
    std::thread worker([&] { run->Execute(); });
    FakeHost second;
    EXPECT_TRUE(Eventually([this] { return fs::exists(m_folder.File("bases/sets/2")); }));
    UpdateRunFactory(*m_area, m_user).MakeRun(Order(From({Source()})), second)->Execute();
    EXPECT_FALSE(second.outcome.begun);
    EXPECT_NE(second.outcome.error.find("another update"), std::string::npos) << "two at once";
    run->Pause();
    run->Resume();
    run->Stop();
    worker.join();
    EXPECT_EQ(host.outcome.end, tasks::RunEnd::Stopped);
    EXPECT_EQ(Sets(), std::set<std::string>{"1"});
    EXPECT_EQ(host.Types().back(), EventName::ModuleDownloaded) << "a stop is no error";
}

TEST_F(UpdateRuns, ServiceKilledAtAnyPointLeavesOneWholeSet) {
    m_folder.Write("source/new.ndb", NewSignature);
    const fs::path beginning = m_folder.File("beginning");
    const auto options = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
    fs::copy(m_folder.File("bases"), beginning, options);
    std::size_t count = 0;
    for (bool killed = true; killed; ++count) {
        fs::remove_all(m_folder.File("bases"));
        fs::copy(beginning, m_folder.File("bases"), options);
        killed = tests::KilledBeforeChange(count, [this] {
            std::string folder;
            std::string problem;
            UpdateArea area(m_folder.File("bases/"), m_folder.File("seeds/"), m_config);
            FakeHost host;
            if (!ULK_SUCCEEDED(area.Open(folder, problem)))
                return false;
            UpdateRunFactory(area, m_user).MakeRun(Order(From({Source()})), host)->Execute();
            return host.outcome.end == tasks::RunEnd::Completed;
        });
        const bool isNew = Content(Current("new.ndb")) == NewSignature;
        EXPECT_EQ(Content(Current("seed.ndb")), SeedSignature) << "before change " << count;
        EXPECT_EQ(fs::exists(Current("new.ndb")), isNew) << "before change " << count;
        Open();
        EXPECT_EQ(Content(Current("new.ndb")) == NewSignature, isNew) << "before change " << count;
        EXPECT_EQ(Sets().size(), isNew ? 2u : 1u) << "before change " << count;
        if (HasFailure())
            return;
    }
    EXPECT_GT(count, 20u);
}

TEST_F(UpdateRuns, NoSpaceIsToldBeforeAnythingIsFetched) {
    m_folder.Write("source/new.ndb", NewSignature);
    m_config.freeSpace = [](const std::string&) { return std::uint64_t{10}; };
    Open();
    UpdateSettings official;
    for (const UpdateSettings& settings : {From({Source()}), From({"http://127.0.0.1:9/a.ndb"}), official}) {
        Update(settings);
        ExpectFailure("not enough free space", settings.customSources.empty() ? "" : settings.customSources.front());
    }
}

TEST_F(UpdateRuns, DiskThatFillsUpMeanwhileChangesNothing) {
    std::string large;
    for (int i = 0; i < 20000; ++i)
        large += "Test.Large" + std::to_string(i) + ":0:*:544553544c415247" + std::to_string(100000 + i) + "\n";
    m_folder.Write("source/large.ndb", large);
    // Room for the set, for one copy of the large file, and for a part of the next.
    const std::string size = "size=" + std::to_string(large.size() * 3 / 2);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", m_folder.File("bases").c_str(), "tmpfs", 0, (size + ",mode=755").c_str()) != 0)
            ::_exit(2);
        m_config.freeSpace = [](const std::string&) { return std::uint64_t{1} << 40; };
        Open();
        Update(From({Source()}));
        ExpectFailure("No space left on device", "a full disk");
        fs::remove(Source("large.ndb"));
        m_folder.Write("source/new.ndb", NewSignature);
        EXPECT_EQ(Update(From({Source()})), tasks::RunEnd::Completed) << "its room was given back";
        ::_exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 2)
        GTEST_SKIP() << "only root may mount a disk of a test's own";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(UpdateRuns, SettingsThatAreNotAllowedStartNothing) {
    Update(From({"relative/path"}));
    EXPECT_FALSE(m_host->outcome.begun);
    EXPECT_EQ(m_host->outcome.reason, types::TaskNotStartedReason::InternalSettingsError);
    EXPECT_NE(m_host->outcome.error.find("relative/path"), std::string::npos);
    EXPECT_TRUE(m_host->events.empty());
}

TEST_F(UpdateRuns, StoppedBeforeItBeganNeverBegins) {
    FakeHost host;
    const auto run = UpdateRunFactory(*m_area, m_user).MakeRun(Order(From({Source()})), host);
    run->Stop();
    run->Execute();
    EXPECT_EQ(host.outcome.end, tasks::RunEnd::Stopped);
    EXPECT_FALSE(host.outcome.begun);
}

} // namespace
} // namespace tfs::service::update
