// SPDX-License-Identifier: GPL-2.0-or-later
#include "temp_folder.h"

#include <tfs_common/config_data.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::loader {
namespace {

class ConfigDataTest : public ::testing::Test {
protected:
    std::shared_ptr<const ConfigData> LoadText(const std::string& text) {
        const std::string path = m_folder.Path("tesl.ini");
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
        return LoadConfigData(path, 0);
    }

    tfs::gui::test::TempFolder m_folder;
};

void ExpectDefaults(const ConfigData& config, const std::string& context) {
    const ConfigData defaults;
    EXPECT_EQ(config.socketPath, defaults.socketPath) << context;
    EXPECT_EQ(config.locale, "en_US.UTF-8") << context;
    EXPECT_EQ(config.packageType, "") << context;
    EXPECT_EQ(config.scanMemoryLimit, 8192) << context;
    EXPECT_EQ(config.watchdogPingTimeout, 20000) << context;
    EXPECT_EQ(config.pcid, ulk::Guid()) << context;
    EXPECT_FALSE(config.agreementAccepted) << context;
    EXPECT_FALSE(config.localeApplied) << context;
    EXPECT_EQ(config.traceFileCount, 2) << context;
    EXPECT_EQ(config.traceFileSizeLimit, 250) << context;
}

TEST_F(ConfigDataTest, readsEveryKey) {
    const auto config = LoadText("[General]\nSocketPath=/run/other\nPackageType=deb\nLocale=ru_RU.UTF-8\n"
                                 "ScanMemoryLimit=4096\nUseFanotify=no\nUseGui=0\nWatchdogPingTimeout=7\n"
                                 "PCID=00112233-4455-6677-8899-AABBCCDDEEFF\n"
                                 "MachineId=ffeeddcc-bbaa-9988-7766-554433221100\n"
                                 "[AcceptedAgreement]\nEulaId=1\n");
    EXPECT_EQ(config->socketPath, "/run/other");
    EXPECT_EQ(config->packageType, "deb");
    EXPECT_EQ(config->locale, "ru_RU.UTF-8");
    EXPECT_EQ(config->scanMemoryLimit, std::int64_t{4096} << 20);
    EXPECT_FALSE(config->useFanotify);
    EXPECT_FALSE(config->useGui);
    EXPECT_EQ(config->watchdogPingTimeout, 7000);
    EXPECT_EQ(ulk::GuidToString(config->pcid), "00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(ulk::GuidToString(config->machineId), "FFEEDDCC-BBAA-9988-7766-554433221100");
    EXPECT_TRUE(config->agreementAccepted);
}

TEST_F(ConfigDataTest, filesThatAreNoneYieldDefaults) {
    const std::string missing = m_folder.Path("missing.ini");
    const std::string folder = m_folder.Path("folder.ini");
    ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
    // Nobody ever writes to it: a reader that waits for a writer hangs here.
    const std::string fifo = m_folder.Path("fifo.ini");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string huge = m_folder.Path("huge.ini");
    std::ofstream(huge) << "[General]\nLocale=de_DE\n;";
    ASSERT_EQ(::truncate(huge.c_str(), 64 << 20), 0);
    const std::string notUtf8 = m_folder.Path("\xff\xfe.ini");
    std::ofstream(notUtf8) << "[General]\nLocale=de_DE\n";
    for (const auto& path : {missing, folder, fifo, huge, notUtf8, std::string("/dev/zero")})
        ExpectDefaults(*LoadConfigData(path, 0), path);
}

TEST_F(ConfigDataTest, aFileThatCanNotBeReadYieldsDefaults) {
    const std::string path = m_folder.Path("tesl.ini");
    std::ofstream(path) << "[General]\nLocale=de_DE\n";
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    // Root reads every file; as somebody else he doesn't.
    const uid_t self = ::geteuid();
    if (self == 0) {
        ASSERT_EQ(::seteuid(65534), 0);
    }
    const auto config = LoadConfigData(path, 0);
    ASSERT_EQ(::seteuid(self), 0);
    ExpectDefaults(*config, path);
}

TEST_F(ConfigDataTest, aFileThatFailsWhollyLeavesNothingBehind) {
    const std::string good = "[General]\nSocketPath=/run/other\nLocale=de_DE\nScanMemoryLimit=4096\n";
    const std::string bad[] = {
        good + "a line that is none\n",
        good + "[General]\nLocale=fr_FR\n", // the section twice
        good + "PCID=not a guid\n",         // throws after other keys were read
        good + "MachineId=00112233-4455-6677-8899-AABBCCDDEEF\n",
        good + "PCID=00112233x4455-6677-8899-AABBCCDDEEFF\n",
        std::string(300, '\xff'),
    };
    for (const std::string& text : bad)
        ExpectDefaults(*LoadText(text), text);
}

TEST_F(ConfigDataTest, aValueThatIsNoWholeTokenLeavesItsFieldAlone) {
    for (const std::string value : {"", "12x", "x", "1 2", "-1", "0x10", "1.5", "99999999999999999999999",
                                    "18446744073709551615", "8796093022208"}) {
        const auto config = LoadText("[General]\nPackageType=deb\nScanMemoryLimit=" + value + "\n");
        EXPECT_EQ(config->scanMemoryLimit, 8192) << value;
        EXPECT_EQ(config->packageType, "deb") << value;
    }
    for (const std::string value : {"", "20s", "-5", "2147484", "4294967297"})
        EXPECT_EQ(LoadText("[General]\nWatchdogPingTimeout=" + value + "\n")->watchdogPingTimeout, 20000) << value;
}

TEST_F(ConfigDataTest, anEmptyTextIsAValueToo) {
    const auto config = LoadText("[General]\nSocketPath=\nLocale=\nPackageType=deb\n");
    EXPECT_EQ(config->socketPath, "");
    EXPECT_EQ(config->locale, "");
    EXPECT_EQ(config->packageType, "deb");
}

TEST_F(ConfigDataTest, memoryLimitHasALeastValue) {
    EXPECT_EQ(LoadText("[General]\nScanMemoryLimit=0\n")->scanMemoryLimit, std::int64_t{2048} << 20);
    EXPECT_EQ(LoadText("[General]\nScanMemoryLimit=2047\n")->scanMemoryLimit, std::int64_t{2048} << 20);
    EXPECT_EQ(LoadText("[General]\nScanMemoryLimit=2049\n")->scanMemoryLimit, std::int64_t{2049} << 20);
}

TEST_F(ConfigDataTest, ordinaryUsersHaveALogFolderOfTheirOwn) {
    const std::string root = paths::Root;
    const auto folderOf = [this](uid_t uid) {
        return ulk::text::Cast<std::string>(LoadConfigData(m_folder.Path("none"), uid)->logFolder);
    };
    EXPECT_EQ(folderOf(0), root + "/var/log/tolvander/tesl/");
    EXPECT_EQ(folderOf(1000), root + "/var/log/tolvander/tesl-user/1000");
}

} // namespace
} // namespace tfs::loader
