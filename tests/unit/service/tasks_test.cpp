// SPDX-License-Identifier: GPL-2.0-or-later
// The parts of the task area that need no registry.
#include <service/tasks/area_access.h>
#include <service/tasks/kept_state.h>
#include <service/tasks/local_mounts.h>
#include <service/tasks/statistics_book.h>
#include <service/tasks/task_events.h>
#include <service/tasks/task_state_machine.h>
#include <tests/unit/service/temp_folder.h>

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::tasks {
namespace {

using tests::Content;
using tests::TempFolder;

constexpr TaskState::Type AllStates[] = {TaskState::Starting,  TaskState::Started,  TaskState::Pausing,
                                         TaskState::Suspended, TaskState::Resuming, TaskState::Stopping,
                                         TaskState::Stopped};

/// Rows: commands and signals; columns: AllStates. A letter names the next state, '-' refuses.
struct TransitionRow {
    const char* name;
    std::optional<TaskState::Type> (*next)(TaskState::Type);
    const char* expected;
};

TEST(TaskStateMachine, EveryCommandAndSignalInEveryState) {
    const TransitionRow rows[] = {
        {"Start", [](TaskState::Type s) { return StateAfter(s, TaskCommand::Start); }, "------i"},
        {"Stop", [](TaskState::Type s) { return StateAfter(s, TaskCommand::Stop); }, "ooooo--"},
        {"Pause", [](TaskState::Type s) { return StateAfter(s, TaskCommand::Pause); }, "-p-----"},
        {"Resume", [](TaskState::Type s) { return StateAfter(s, TaskCommand::Resume); }, "---r---"},
        {"Begun", [](TaskState::Type s) { return StateAfter(s, RunSignal::Begun); }, "s------"},
        {"Held", [](TaskState::Type s) { return StateAfter(s, RunSignal::Held); }, "--h----"},
        {"GoneOn", [](TaskState::Type s) { return StateAfter(s, RunSignal::GoneOn); }, "----s--"},
        {"Ended", [](TaskState::Type s) { return StateAfter(s, RunSignal::Ended); }, "xxxxxx-"},
    };
    const std::pair<char, TaskState::Type> letters[] = {
        {'i', TaskState::Starting}, {'s', TaskState::Started},  {'p', TaskState::Pausing}, {'h', TaskState::Suspended},
        {'r', TaskState::Resuming}, {'o', TaskState::Stopping}, {'x', TaskState::Stopped}};
    for (const TransitionRow& row : rows)
        for (std::size_t i = 0; i < std::size(AllStates); ++i) {
            std::optional<TaskState::Type> expected;
            for (const auto& [letter, state] : letters)
                if (letter == row.expected[i])
                    expected = state;
            EXPECT_EQ(row.next(AllStates[i]), expected) << row.name << " in state " << AllStates[i];
        }
}

TEST(TaskEvents, KindAndCertaintyComeFromTheEnginesName) {
    using types::DetectCertainty;
    using types::DetectType;
    const struct {
        const char* name;
        DetectType::Type type;
        DetectCertainty::Type certainty;
    } rows[] = {
        {"Win.Trojan.Agent-1234", DetectType::Trojware, DetectCertainty::Sure},
        {"Unix.Worm.Slow", DetectType::Virware, DetectCertainty::Sure},
        {"PUA.Win.Tool.Packed", DetectType::Adware, DetectCertainty::Sure},
        {"Js.Exploit.CVE_2020_1", DetectType::Malware, DetectCertainty::Sure},
        {"Heuristics.Phishing.Email", DetectType::Malware, DetectCertainty::Suspicion},
        {"Heuristics.Broken.Executable", DetectType::Other, DetectCertainty::Suspicion},
        {"Eicar-Test-Signature", DetectType::Other, DetectCertainty::Sure},
        {"Win.TrojanLike.X", DetectType::Other, DetectCertainty::Sure},
        {"", DetectType::Other, DetectCertainty::Sure},
        {"....", DetectType::Other, DetectCertainty::Sure},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(DetectTypeOf(row.name), row.type) << row.name;
        EXPECT_EQ(DetectCertaintyOf(row.name), row.certainty) << row.name;
    }
}

TEST(LocalMounts, OtherLocalFileSystemsBelowAnAreaAreAddedOnce) {
    constexpr char MountInfo[] = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                                 "23 22 8:2 / /home rw - xfs /dev/sda2 rw\n"
                                 "24 22 8:2 / /srv/again rw - xfs /dev/sda2 rw\n"  // the same files once more
                                 "25 22 8:2 /sub /srv/sub rw - xfs /dev/sda2 rw\n" // another part of it
                                 "26 22 0:5 / /proc rw - proc proc rw\n"
                                 "27 22 0:6 / /mnt/far rw - nfs4 server:/x rw\n"
                                 "28 22 0:7 / /dev/shm rw shared:3 master:1 - tmpfs tmpfs rw\n"
                                 "29 22 8:3 / /media/a\\040b rw - vfat /dev/sdb1 rw\n"
                                 "30 22 8:4 / /home2 rw - ext4 /dev/sdc1 rw\n"
                                 "garbage\n"
                                 "31 22 8:5\n";
    EXPECT_EQ(WithLocalMounts({"/"}, MountInfo),
              (std::vector<std::string>{"/", "/home", "/srv/sub", "/dev/shm", "/media/a b", "/home2"}));
    EXPECT_EQ(WithLocalMounts({"/home", "/srv"}, MountInfo),
              (std::vector<std::string>{"/home", "/srv", "/srv/sub"})); // not /home2; /srv/again is /home
    EXPECT_EQ(WithLocalMounts({"/opt"}, ""), std::vector<std::string>{"/opt"});
}

TEST(AreaAccess, LinksAreResolvedAndOnlyFilesAndFoldersAreAreas) {
    const TempFolder folder;
    const std::string file = folder.Write("file", "x");
    ASSERT_EQ(::symlink(file.c_str(), folder.File("link").c_str()), 0);
    ASSERT_EQ(::mkfifo(folder.File("pipe").c_str(), 0600), 0);
    const std::string real = std::filesystem::canonical(folder.Path()).string();
    EXPECT_EQ(CheckArea(folder.File("link"), std::nullopt).path, real + "/file");
    EXPECT_EQ(CheckArea(folder.Path() + "/./", std::nullopt).path, real);
    EXPECT_EQ(CheckArea(folder.File("pipe"), std::nullopt).error, EOPNOTSUPP);
    EXPECT_EQ(CheckArea("/dev/null", std::nullopt).error, EOPNOTSUPP);
    EXPECT_EQ(CheckArea(folder.File("missing"), std::nullopt).error, ENOENT);
}

TEST(AreaAccess, AUserReachesWhatHeCouldReadHimself) {
    const TempFolder folder;
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
    ASSERT_EQ(::mkdir(folder.File("private").c_str(), 0700), 0);
    folder.Write("private/secret", "x");
    ::chmod(folder.File("private/secret").c_str(), 0644);
    ::chmod(folder.Write("hidden", "x").c_str(), 0600);
    ::chmod(folder.Write("open", "x").c_str(), 0644);
    ASSERT_EQ(::symlink("private/secret", folder.File("link").c_str()), 0);
    constexpr std::uint32_t Nobody = 65534;
    if (::geteuid() != 0) {
        // Another user's rights can't be taken on, so nothing is scanned for him.
        EXPECT_EQ(CheckArea(folder.File("open"), ::geteuid()).error, 0);
        EXPECT_EQ(CheckArea(folder.File("open"), ::geteuid() + 1).error, EACCES);
        return;
    }
    EXPECT_EQ(CheckArea(folder.File("open"), Nobody).error, 0);
    EXPECT_EQ(CheckArea(folder.Path(), Nobody).error, 0);
    for (const char* name : {"private", "private/secret", "hidden", "link"})
        EXPECT_EQ(CheckArea(folder.File(name), Nobody).error, EACCES) << name;
    // The rights of the service itself are as they were, on every thread.
    EXPECT_EQ(CheckArea(folder.File("hidden"), std::nullopt).error, 0);
    EXPECT_EQ(::geteuid(), 0u);
}

KeptState SomeState() {
    KeptState state;
    state.nextTaskId = 107;
    state.nextRunId = 12;
    state.lastFullScan = 1700000000;
    state.odsTotal.scannedObjects = 18446744073709551615u;
    KeptStatistic kept;
    kept.runId = 11;
    kept.ownerUid = 1000;
    kept.statistic.taskId = 106;
    kept.statistic.taskName = u"Scan_File_106";
    kept.statistic.taskType = task_type::ODS;
    kept.statistic.isTemporary = true;
    kept.statistic.startTime = 1700000001;
    kept.statistic.finishTime = 1700000002;
    kept.statistic.scannedBytes = 5;
    kept.statistic.scan.threatsFound = 2;
    kept.statistic.scan.passwordProtectedObjects = 3;
    state.statistics.push_back(kept);
    return state;
}

TEST(KeptState, ComesBackAsItWasSaved) {
    const TempFolder folder;
    ASSERT_EQ(SaveKeptState(folder.File("tasks.json"), SomeState()), ulk::sOk);
    const LoadedState loaded = LoadKeptState(folder.File("tasks.json"));
    EXPECT_EQ(loaded.state, SomeState());
    EXPECT_TRUE(loaded.problem.empty());
    EXPECT_EQ(LoadKeptState(folder.File("missing.json")).state, KeptState());
}

TEST(KeptState, AnyDamageSetsTheFileAsideAndIdsDontStartAgain) {
    const TempFolder good;
    ASSERT_EQ(SaveKeptState(good.File("tasks.json"), SomeState()), ulk::sOk);
    const std::string text = Content(good.File("tasks.json"));
    const auto with = [&](const std::string& what, const std::string& instead) {
        std::string changed = text;
        EXPECT_NE(changed.find(what), std::string::npos);
        return changed.replace(changed.find(what), what.size(), instead);
    };
    const std::string damages[] = {"",
                                   "[]",
                                   text.substr(0, text.size() / 2),
                                   with("\"version\": 1", "\"version\": 2"),
                                   with("\"nextTaskId\": 107", "\"nextTaskId\": 2"),
                                   with("\"nextRunId\": 12", "\"nextRunId\": -1"),
                                   with("\"taskId\": 106", "\"taskId\": \"106\""),
                                   with("\"runId\": 11,", ""),
                                   with("\"isTemporary\": true", "\"isTemporary\": 1")};
    for (const std::string& damage : damages) {
        const TempFolder folder;
        const std::string path = folder.Write("tasks.json", damage);
        const LoadedState loaded = LoadKeptState(path);
        EXPECT_FALSE(loaded.problem.empty()) << damage;
        EXPECT_TRUE(loaded.state.statistics.empty());
        EXPECT_GT(loaded.state.nextTaskId, 1000000000u);
        EXPECT_EQ(Content(path + ".damaged"), damage);
    }
}

TEST(StatisticsBook, SumsOutliveTheRecordsAndOldOnesGiveWay) {
    StatisticsBook book(2);
    core::TaskInfo task;
    task.isTemporary = true;
    ScanStatistic counters;
    counters.scannedObjects = 10;
    for (task.taskId = 100; task.taskId < 104; ++task.taskId) {
        book.Begin(task, book.TakeRunId(), 5);
        book.Update(task.taskId, counters, 1);
        EXPECT_EQ(book.Sum().scannedObjects, 10 * (task.taskId - 99));
        book.Finish(task.taskId, 4); // the clock was set back: the record counts as finished all the same
        EXPECT_EQ(book.Find(task.taskId)->statistic.finishTime, 5);
        book.Update(task.taskId, ScanStatistic(), 0); // too late
        EXPECT_EQ(book.Sum().scannedObjects, 10 * (task.taskId - 99));
    }
    EXPECT_EQ(book.Find(100), nullptr);
    EXPECT_EQ(book.Find(101), nullptr);
    EXPECT_NE(book.Find(103), nullptr);
    book.Remove(103);
    EXPECT_EQ(book.Sum().scannedObjects, 40u);
}

} // namespace
} // namespace tfs::service::tasks
