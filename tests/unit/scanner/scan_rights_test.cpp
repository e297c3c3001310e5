// SPDX-License-Identifier: GPL-2.0-or-later
// A scan for a user sees what the user may see, and tells no more.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::test {
namespace {

constexpr uid_t Nobody = 65534;

class ScanRights : public testing::Test {
protected:
    ScanResult Run(RecordingObserver*& observer, std::optional<std::uint32_t> user) {
        ScanOptions options = Area(m_folder.Path());
        options.rightsOf = user;
        m_scan = std::make_unique<RunningScan>(m_scanner.Service(), options);
        observer = &m_scan->Observer();
        return m_scan->Result();
    }
    void Give(const std::string& path, uid_t user, mode_t mode) {
        ASSERT_EQ(::chown(path.c_str(), user, user), 0);
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    }

    const TemporaryFolder m_folder;
    Scanner m_scanner;
    std::unique_ptr<RunningScan> m_scan;
};

std::set<std::string> PathsOf(const RecordingObserver& observer) {
    std::set<std::string> paths;
    for (const ThreatFound& threat : observer.Threats())
        paths.insert(threat.path);
    return paths;
}

TEST_F(ScanRights, AUserLearnsNothingOfFilesThatHeMayNotRead) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can take on other users' rights";
    const std::string open = m_folder.Write("open", TestThreat());
    const std::string own = m_folder.Write("own", TestThreat());
    const std::string group = m_folder.Write("group", TestThreat());
    const std::string secret = m_folder.Write("secret", TestThreat());
    const std::string roots = m_folder.Write("roots", TestThreat());
    const std::string closed = m_folder.Write("closed/threat", TestThreat());
    const std::string listed = m_folder.Write("listed/threat", TestThreat());
    const std::string linked = m_folder.Write("closed/two-names", TestThreat());
    const std::string link = m_folder / "link";
    std::filesystem::create_hard_link(linked, link);
    Give(m_folder.Path(), 0, 0755);
    Give(open, 0, 0644);
    Give(own, Nobody, 0400);
    Give(group, 0, 0640);
    ASSERT_EQ(::chown(group.c_str(), 0, Nobody), 0);
    Give(secret, 0, 0600);
    Give(roots, 0, 0640);
    Give(m_folder / "closed", 0, 0700);
    Give(m_folder / "listed", 0, 0744); // names may be read there, files may not be reached
    Give(link, 0, 0644);

    RecordingObserver* observer = nullptr;
    ScanResult result = Run(observer, Nobody);
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(PathsOf(*observer), (std::set<std::string>{open, own, group, link}));
    for (const std::string& path : {secret, roots, m_folder / "closed", listed})
        EXPECT_EQ(observer->ReasonOf(path), "access denied") << path;
    EXPECT_EQ(observer->ReasonOf(closed), "") << "he must not even learn of the name";
    EXPECT_EQ(result.counters.notProcessed, 4u);
    EXPECT_EQ(result.counters.percent, 100u);

    result = Run(observer, std::nullopt);
    EXPECT_EQ(result.counters.threats, 9u);
    EXPECT_EQ(result.counters.notProcessed, 0u);
    EXPECT_EQ(::geteuid(), 0u) << "the rights are those of the run's threads alone";
    result = Run(observer, 0);
    EXPECT_EQ(result.counters.threats, 9u);
}

TEST_F(ScanRights, AUserDoesNotLearnThatAFileIsKnownToBeClean) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can take on other users' rights";
    const std::string secret = m_folder.Write("secret", "clean content");
    Give(m_folder.Path(), 0, 0755);
    Give(secret, 0, 0600);
    WaitUntilOld(secret);
    RecordingObserver* observer = nullptr;
    ASSERT_EQ(Run(observer, std::nullopt).counters.scannedObjects, 1u);
    const ScanResult result = Run(observer, Nobody);
    EXPECT_EQ(result.counters.scannedObjects, 0u);
    EXPECT_EQ(observer->ReasonOf(secret), "access denied");
}

TEST_F(ScanRights, AnAreaBehindALinkIsReachedWithTheUsersRights) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can take on other users' rights";
    m_folder.Write("closed/inside/threat", TestThreat());
    std::filesystem::create_directory_symlink("closed/inside", m_folder / "way");
    Give(m_folder.Path(), 0, 0755);
    Give(m_folder / "closed", 0, 0700);
    ScanOptions options = Area(m_folder / "way/threat");
    options.rightsOf = Nobody;
    RunningScan scan(m_scanner.Service(), options);
    EXPECT_EQ(scan.Result().counters.threats, 0u);
    EXPECT_EQ(scan.Observer().ReasonOf(m_folder / "way/threat"), "access denied");
}

TEST_F(ScanRights, AServiceThatIsNotRootScansForNobodyElse) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root can take on other users' rights";
    m_folder.Write("threat", TestThreat());
    RecordingObserver* observer = nullptr;
    EXPECT_EQ(Run(observer, ::geteuid() + 1).counters.threats, 0u);
    EXPECT_EQ(observer->ReasonOf(m_folder.Path()), "access denied");
    EXPECT_EQ(Run(observer, ::geteuid()).counters.threats, 1u);
}

} // namespace
} // namespace tfs::test
