// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <tests/unit/tfs_common/test_folder.h>
#include <tfs_common/pidfile.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs before a lock is taken; a value other than 0 is the error that the lock then fails with.
std::function<int()> g_lock;

} // namespace

/// In place of the C library's, so that a test can step in between.
extern "C" int flock(int fd, int operation) noexcept {
    if (g_lock && operation == (LOCK_EX | LOCK_NB)) {
        if (const int error = g_lock(); error != 0) {
            errno = error;
            return -1;
        }
    }
    return static_cast<int>(::syscall(SYS_flock, fd, operation));
}

namespace {

using tfs::PidFile;

/// Runs the action, which is to fail, and tells code and text.
template <class Action>
std::pair<result_t, std::string> FailureOf(Action&& action) {
    try {
        action();
    } catch (const ulk::CheckResultFailedException& e) {
        EXPECT_STREQ(e.File(), "tfs_common/pidfile");
        EXPECT_GT(e.Line(), 0);
        return {e.Code(), ulk::text::ToUtf8Lossy(e.Message())};
    }
    ADD_FAILURE() << "nothing was thrown";
    return {0, {}};
}

class PidFileTest : public ::testing::Test {
protected:
    /// As another process would hold it: a lock belongs to the open file.
    int LockedByAnother(const std::string& text) {
        test::WriteFile(m_path, text);
        const int fd = ::open(m_path.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
        return fd;
    }

    test::Folder m_folder;
    std::string m_path = m_folder / "gui.pid";
};

TEST_F(PidFileTest, OwnerWritesItsPidAndLeavesNothingBehind) {
    {
        const PidFile file(m_path, true);
        EXPECT_TRUE(file.owner());
        EXPECT_EQ(test::ReadFile(m_path), std::to_string(::getpid()));
        struct stat status {};
        ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777u, 0600u);
        EXPECT_EQ(file.ReadPid(), ::getpid());
    }
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(PidFileTest, StaleFileIsTakenOver) {
    test::WriteFile(m_path, "4194304123\nold text that is longer than a pid");
    const PidFile file(m_path, false);
    EXPECT_TRUE(file.owner());
    EXPECT_EQ(test::ReadFile(m_path), std::to_string(::getpid()));
}

TEST_F(PidFileTest, LockedFileTellsItsOwner) {
    const int fd = LockedByAnother("4711\nrest");
    {
        const PidFile file(m_path, true);
        EXPECT_FALSE(file.owner());
        EXPECT_EQ(file.ReadPid(), 4711);
    }
    EXPECT_EQ(test::ReadFile(m_path), "4711\nrest") << "only the owner changes or removes the file";
    const auto [code, text] = FailureOf([&] { PidFile(m_path, false); });
    EXPECT_EQ(code, ulk::eAlreadyDone);
    EXPECT_EQ(text, "Another instance of this program is already running");
    ::close(fd);
    EXPECT_TRUE(PidFile(m_path, true).owner()) << "the lock goes with its holder";
}

TEST_F(PidFileTest, ReadPidFailsAsStoiDoesAndKeepsErrno) {
    const int fd = LockedByAnother("");
    const PidFile file(m_path, true);
    const auto kind = [&](const std::string& text) -> std::string {
        test::WriteFile(m_path, text);
        errno = ENOTTY;
        std::string result;
        try {
            result = std::to_string(file.ReadPid());
        } catch (const std::invalid_argument& e) {
            result = std::string("invalid ") + e.what();
        } catch (const std::out_of_range& e) {
            result = std::string("range ") + e.what();
        }
        EXPECT_EQ(errno, ENOTTY) << text;
        return result;
    };
    EXPECT_EQ(kind(""), "invalid stoi");
    EXPECT_EQ(kind("pid"), "invalid stoi");
    EXPECT_EQ(kind("\n12"), "invalid stoi");
    EXPECT_EQ(kind("2147483648"), "range stoi");
    EXPECT_EQ(kind(std::string(100, '9')), "range stoi");
    EXPECT_EQ(kind("2147483647"), "2147483647");
    EXPECT_EQ(kind("12abc"), "12");

    ::unlink(m_path.c_str());
    const auto [code, text] = FailureOf([&] { (void)file.ReadPid(); });
    EXPECT_EQ(code, ulk::eUnspecified);
    EXPECT_EQ(text, "Cannot reopen " + m_path + ": No such file or directory");
    ::close(fd);
}

TEST_F(PidFileTest, FileThatSomebodyElseLaidThereIsRefused) {
    const std::string victim = m_folder / "victim";
    test::WriteFile(victim, "precious");

    ASSERT_EQ(::symlink(victim.c_str(), m_path.c_str()), 0);
    EXPECT_EQ(FailureOf([&] { PidFile(m_path, true); }),
              std::pair(ulk::eUnspecified, "Could not open pid: " + m_path + ": Too many levels of symbolic links"));
    ::unlink(m_path.c_str());

    ASSERT_EQ(::link(victim.c_str(), m_path.c_str()), 0);
    EXPECT_EQ(FailureOf([&] { PidFile(m_path, true); }),
              std::pair(ulk::eUnspecified, "Could not open pid: " + m_path + ": Permission denied"));
    ::unlink(m_path.c_str());
    EXPECT_EQ(test::ReadFile(victim), "precious");

    const std::string missing = m_folder / "missing/gui.pid";
    EXPECT_EQ(FailureOf([&] { PidFile(missing, true); }),
              std::pair(ulk::eUnspecified, "Could not open pid: " + missing + ": No such file or directory"));
}

TEST_F(PidFileTest, AnotherUsersFileDoesNotOpen) {
    if (::geteuid() != 0) {
        // Root's file, which everybody can see and nobody else may write.
        EXPECT_EQ(FailureOf([] { PidFile("/etc/passwd", true); }),
                  std::pair(ulk::eUnspecified, std::string("Could not open pid: /etc/passwd: Permission denied")));
        return;
    }
    test::WriteFile(m_path, "1");
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0777), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        bool refused = false;
        if (::setresuid(65534, 65534, 65534) == 0) {
            try {
                const PidFile file(m_path, true);
            } catch (const ulk::CheckResultFailedException& e) {
                refused = e.Code() == ulk::eUnspecified && ulk::text::ToUtf8Lossy(e.Message()) ==
                                                               "Could not open pid: " + m_path + ": Permission denied";
            }
        }
        ::_exit(refused ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);

    // The other way round: root may open everything, and still takes no file that a user has laid for it.
    ASSERT_EQ(::chown(m_path.c_str(), 65534, 65534), 0);
    EXPECT_EQ(FailureOf([&] { PidFile(m_path, true); }).first, ulk::eUnspecified);
}

TEST_F(PidFileTest, OwnerThatLeavesBetweenOpenAndLock) {
    test::WriteFile(m_path, "4711");
    int calls = 0;
    g_lock = [&] {
        // As the leaving owner does it: the name goes first, the lock second.
        if (++calls == 1)
            ::unlink(m_path.c_str());
        return 0;
    };
    const PidFile file(m_path, true);
    g_lock = nullptr;
    EXPECT_TRUE(file.owner());
    EXPECT_EQ(calls, 2);
    ASSERT_TRUE(std::filesystem::exists(m_path)) << "a lock on a file without a name keeps nobody out";
    EXPECT_FALSE(PidFile(m_path, true).owner());
    EXPECT_EQ(file.ReadPid(), ::getpid());
}

TEST_F(PidFileTest, LockAndWriteThatFailAreTold) {
    g_lock = [] { return ENOLCK; };
    EXPECT_EQ(
        FailureOf([&] { PidFile(m_path, true); }),
        std::pair(ulk::ResultFromErrno(ENOLCK), "Cannot acquire lock for " + m_path + ": " + std::strerror(ENOLCK)));
    g_lock = nullptr;

    // A file that may not grow takes no pid, as on a full disk.
    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const rlimit none{0, old.rlim_max};
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
    const auto failure = FailureOf([&] { PidFile(m_path, true); });
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(failure, std::pair(ulk::eUnspecified, "Failed to write to " + m_path));
    EXPECT_TRUE(PidFile(m_path, true).owner()) << "a failed start keeps no lock";
}

} // namespace
