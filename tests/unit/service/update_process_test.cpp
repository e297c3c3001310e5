// SPDX-License-Identifier: GPL-2.0-or-later
// How the updater is run, with a script in its place: its rights, what it is handed, and how it is ended.
#include <service/update/freshclam_process.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::update {
namespace {

using tests::Content;
using tests::Eventually;
using tests::TempFolder;

/// From here on the shell keeps what is its own: its script, and what a redirection hides.
constexpr int ScriptDescriptor = 10;

class UpdaterProcess : public ::testing::Test {
protected:
    UpdaterProcess() {
        // A script, unlike the updater, is found by its path.
        ::chmod(m_folder.Path().c_str(), 0711);
        std::filesystem::create_directory(m_folder.File("data"));
        m_data = scanner::Descriptor(::open(m_folder.File("data").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        m_job.account = FindUpdaterAccount().value();
        m_job.databaseFolder = m_data.Get();
        m_job.source = {UpdateSource::Kind::Mirror, "http://127.0.0.1:9"};
        EXPECT_EQ(::fchown(m_data.Get(), m_job.account.uid, m_job.account.gid), 0);
        m_programs.freshclam = m_folder.File("updater");
        m_programs.deadline = std::chrono::seconds(20);
    }
    /// The script stands in for the updater.
    FetchResult Run(const std::string& script, const FetchObserver& observer = {}) {
        m_folder.Write("updater", "#!/bin/sh\n" + script);
        ::chmod(m_programs.freshclam.c_str(), 0755);
        FreshclamProcess process(m_programs);
        return process.Run(m_job, observer);
    }
    std::string Data(const std::string& name) const { return Content(m_folder.File("data/" + name)); }

    TempFolder m_folder;
    scanner::Descriptor m_data;
    FreshclamJob m_job;
    FreshclamPrograms m_programs;
};

TEST_F(UpdaterProcess, HasNoRightsAndOnlyWhatItIsHanded) {
    m_job.source.proxy = ProxyAddress{"http://proxy", 80, "ann", "secret"};
    const scanner::Descriptor stray(::open("/dev/null", O_RDONLY)); // not close-on-exec, as inherited ones are
    ASSERT_GE(::fcntl(stray.Get(), F_DUPFD, 200), 200);
    ASSERT_EQ(Run("cat /proc/self/status > /proc/self/fd/5/status\nls /proc/$$/fd > /proc/self/fd/5/open\n"
                  "env > /proc/self/fd/5/environment\ncat /dev/stdin > /proc/self/fd/5/configuration\n"
                  "ps -o pid=,pgid= -p $$ > /proc/self/fd/5/group\nstat -L -c %a%u /dev/stdin > /proc/self/fd/5/mode\n")
                  .end,
              FetchEnd::NothingToUpdate);
    const std::string status = Data("status");
    EXPECT_NE(status.find("NoNewPrivs:\t1"), std::string::npos) << status;
    if (::geteuid() == 0) {
        for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"})
            EXPECT_NE(status.find(std::string(set) + ":\t0000000000000000"), std::string::npos) << status;
        const std::string uid = std::to_string(m_job.account.uid);
        EXPECT_NE(m_job.account.uid, 0u);
        EXPECT_NE(status.find("Uid:\t" + uid + "\t" + uid + "\t" + uid + "\t" + uid), std::string::npos) << status;
        EXPECT_NE(status.find("Groups:\t \n"), std::string::npos) << status;
    }
    EXPECT_NE(Data("configuration").find("HTTPProxyPassword secret"), std::string::npos);
    EXPECT_EQ(Data("mode"), "400" + std::to_string(m_job.account.uid) + "\n");
    EXPECT_EQ(Data("environment").find("HOME"), std::string::npos);
    std::istringstream open(Data("open"));
    for (int descriptor = 0; open >> descriptor;)
        EXPECT_TRUE(descriptor <= 2 || descriptor == DatabaseDescriptor || descriptor == ScriptDescriptor ||
                    descriptor == ScriptDescriptor + 1)
            << descriptor << " is open";
    std::istringstream group(Data("group"));
    pid_t pid = 0;
    pid_t leader = 0;
    group >> pid >> leader;
    EXPECT_EQ(pid, leader);
}

TEST_F(UpdaterProcess, EndsAreToldApart) {
    const struct {
        const char* script;
        FetchEnd end;
        const char* why;
    } rows[] = {
        {"echo 'a.ndb updated (version: custom database, sigs: 1)'", FetchEnd::Updated, ""},
        {"echo 'a.ndb updated (version: 1'; exit 3", FetchEnd::Failed, "failed with code 3"},
        {"echo 'ERROR: it \x1b[31mbroke' >&2; exit 1", FetchEnd::Failed, "it broke"},
        {"printf 'ERROR: last words'; exit 1", FetchEnd::Failed, "last words"},
        {"kill -SEGV $$", FetchEnd::Failed, "ended by signal 11"},
        {"exit 0", FetchEnd::NothingToUpdate, ""},
    };
    for (const auto& row : rows) {
        const FetchResult result = Run(row.script);
        EXPECT_EQ(result.end, row.end) << row.script;
        EXPECT_NE(result.why.find(row.why), std::string::npos) << row.script << ": " << result.why;
    }
    m_programs.prlimit = m_folder.File("missing");
    EXPECT_NE(Run("").why.find("can't be started"), std::string::npos);
    m_programs.prlimit = FreshclamPrograms().prlimit;
    m_programs.freshclam = m_folder.File("missing");
    FreshclamProcess process(m_programs);
    EXPECT_EQ(process.Run(m_job, {}).end, FetchEnd::Failed) << "the updater isn't installed";
}

TEST_F(UpdaterProcess, ProgressOfSeveralFilesNeverFalls) {
    std::vector<std::uint32_t> percents;
    std::vector<std::string> files;
    FetchObserver observer;
    observer.progress = [&](std::uint32_t percent) { percents.push_back(percent); };
    observer.updated = [&](const std::string& file) { files.push_back(file); };
    std::string script;
    for (const char* file : {"a", "b", "c", "d", "e"})
        script += std::string("printf 'Time: 0s 1B/2B\\rTime: 0s 2B/2B\\rTime: 0s 1B/2B\\n'; echo '") + file +
                  " updated (version: 1)'\n";
    ASSERT_EQ(Run(script, observer).end, FetchEnd::Updated);
    EXPECT_EQ(files, (std::vector<std::string>{"a", "b", "c", "d", "e"}));
    EXPECT_GT(percents.size(), 4u);
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_LE(percents.back(), 100u);
}

TEST_F(UpdaterProcess, WhoTakesTooLongIsEnded) {
    m_programs.deadline = std::chrono::milliseconds(300);
    for (const char* script : {"sleep 100", "while :; do printf 'xxxxxxxxxxxxxxxxxxxxxxxxxxxxxx'; done",
                               "trap '' TERM INT HUP; exec >&-; exec 2>&-; sleep 100"})
        EXPECT_EQ(Run(script).why, "the update took too long") << script;
}

TEST_F(UpdaterProcess, NothingOfItsGroupOutlivesIt) {
    ASSERT_EQ(Run("sleep 100 & echo $! > /proc/self/fd/5/child; exit 0").end, FetchEnd::NothingToUpdate);
    const std::string child = Data("child");
    const std::string status = "/proc/" + child.substr(0, child.find('\n')) + "/status";
    EXPECT_TRUE(Eventually([&] {
        const std::string text = Content(status);
        return text.empty() || text.find("State:\tZ") != std::string::npos;
    }));
}

} // namespace
} // namespace tfs::service::update
