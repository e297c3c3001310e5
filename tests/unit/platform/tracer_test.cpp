// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/tracer_service.h>
#include <foundation/module.h>
#include <foundation/trace.h>
#include <tests/unit/tfs_common/test_folder.h>

#include <csignal>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

class TracerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_module.Load(std::string(TEST_MODULE_FOLDER) + "libinstrumental_services.so"), ulk::sOk)
            << m_module.ErrorText();
        void* made = nullptr;
        ASSERT_EQ(m_module.CreateObject(app_core::TracerClass, nullptr, ulk::ITracer::Iid, &made), ulk::sOk);
        m_tracer = ulk::Ptr<ulk::ITracer>::Adopt(static_cast<ulk::ITracer*>(made));
        ASSERT_EQ(m_tracer->QueryInterface(app_core::ITracerConfigurator::Iid, &made), ulk::sOk);
        m_configurator =
            ulk::Ptr<app_core::ITracerConfigurator>::Adopt(static_cast<app_core::ITracerConfigurator*>(made));
        m_settings.level = 1000;
        m_settings.enabled = true;
        m_settings.fileStem = u"tesl-gui.17.";
        m_settings.lineFormat = u"%Y.%m.%d %X\t%I\t%p\t";
        SetFolder(m_folder / "new/deep");
    }
    void TearDown() override {
        m_configurator.Reset();
        m_tracer.Reset();
    }

    void SetFolder(const std::string& folder) {
        m_logFolder = folder;
        m_settings.folder = ulk::text::Cast<ulk::types::string16_t>(folder);
    }
    result_t Configure() { return m_configurator->Configure(m_settings); }
    void Write(int level, std::string_view text) { ULK_TRACE(m_tracer.Get(), level) << text; }
    std::string LogPath(const std::string& end = "log") const { return m_logFolder + "/tesl-gui.17." + end; }
    std::vector<std::string> Lines(const std::string& end = "log") const {
        std::ifstream file(LogPath(end));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    test::Folder m_folder;
    std::string m_logFolder;
    app_core::loader::TracerSettings m_settings;
    ulk::Module m_module;
    ulk::Ptr<ulk::ITracer> m_tracer;
    ulk::Ptr<app_core::ITracerConfigurator> m_configurator;
};

TEST_F(TracerTest, LineFormat) {
    ASSERT_EQ(Configure(), ulk::sOk);
    Write(300, "first");
    Write(1000, "");
    std::thread([this] { Write(800, "other thread"); }).join();
    const auto lines = Lines();
    ASSERT_EQ(lines.size(), 3u);
    const std::string date = "[0-9]{4}\\.[0-9]{2}\\.[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\t";
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(date + std::to_string(::gettid()) + "\t300\tfirst"))) << lines[0];
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(date + std::to_string(::gettid()) + "\t1000\t"))) << lines[1];
    EXPECT_TRUE(std::regex_match(lines[2], std::regex(date + "[0-9]+\t800\tother thread"))) << lines[2];
    EXPECT_EQ(lines[2].find("\t" + std::to_string(::gettid()) + "\t"), std::string::npos);
    struct stat status {};
    ASSERT_EQ(::stat(LogPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(TracerTest, MissingParentsAreOpenToAllAndTheFolderItselfIsPrivate) {
    const mode_t before = ::umask(077);
    const result_t result = Configure();
    ::umask(before);
    ASSERT_EQ(result, ulk::sOk);
    struct stat status {};
    ASSERT_EQ(::stat((m_folder / "new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0755u);
    ASSERT_EQ(::stat(m_logFolder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0700u);
    ASSERT_EQ(::stat(m_folder.Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0700u) << "a folder that was there keeps its mode";
}

TEST_F(TracerTest, TheFileComesWithTheFirstLine) {
    ASSERT_EQ(Configure(), ulk::sOk);
    m_tracer->Flush();
    EXPECT_TRUE(std::filesystem::is_empty(m_logFolder));
    Write(800, "first");
    EXPECT_EQ(Lines().size(), 1u);
}

TEST_F(TracerTest, FilesOfEndedProcessesAreRemovedButForTheNewest) {
    const pid_t ended = ::fork();
    if (ended == 0)
        ::_exit(0);
    ASSERT_EQ(::waitpid(ended, nullptr, 0), ended);
    const std::string dead = std::to_string(ended);
    std::filesystem::create_directories(m_logFolder);
    std::filesystem::permissions(m_logFolder, std::filesystem::perms::owner_all);
    const std::vector<std::string> oldestFirst = {"tesl-gui." + dead + ".2.log", "tesl-gui." + dead + ".1.log",
                                                  "tesl-gui." + dead + ".log", "tesl-gui.4194305.log"};
    const std::set<std::string> others = {
        "tesl-gui." + std::to_string(::getpid()) + ".log", // alive
        "tesl-gui.1.1.log",
        "tesl-gui.17.1.log", // its own
        "tesl-service." + dead + ".log",
        "tesl-gui." + dead + ".log.gz",
        "tesl-gui." + dead + "x.log",
        "tesl-gui.notes.log",
        "tesl-gui..log",
        "tesl-gui.-1.log",
    };
    const auto now = std::filesystem::file_time_type::clock::now();
    int age = 10;
    for (const std::string& name : oldestFirst) {
        test::WriteFile(m_logFolder + "/" + name, "old");
        std::filesystem::last_write_time(m_logFolder + "/" + name, now - std::chrono::hours(age--));
    }
    for (const std::string& name : others) {
        test::WriteFile(m_logFolder + "/" + name, "");
        std::filesystem::last_write_time(m_logFolder + "/" + name, now - std::chrono::hours(100));
    }
    m_settings.fileCount = 2;
    ASSERT_EQ(Configure(), ulk::sOk);
    std::set<std::string> expected = others;
    expected.insert(oldestFirst.end() - 2, oldestFirst.end());
    std::set<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(m_logFolder))
        left.insert(entry.path().filename().string());
    EXPECT_EQ(left, expected);

    // Without a pid in the stem nobody can tell whose a file is.
    m_settings.fileStem = u"tesl-gui.";
    m_settings.fileCount = 1;
    ASSERT_EQ(Configure(), ulk::sOk);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_logFolder), {}),
              static_cast<std::ptrdiff_t>(expected.size()));
}

TEST_F(TracerTest, UnusualLineFormats) {
    m_settings.lineFormat = u"100%% %p %";
    ASSERT_EQ(Configure(), ulk::sOk);
    Write(700, "x");
    EXPECT_EQ(Lines().back(), "100% 700 %x");
    m_settings.lineFormat = u"";
    ASSERT_EQ(Configure(), ulk::sOk);
    Write(700, "bare");
    EXPECT_EQ(Lines().back(), "bare");
}

TEST_F(TracerTest, LevelsAndSwitch) {
    EXPECT_FALSE(m_tracer->IsEnabled(0)) << "silent before it is configured";
    m_settings.level = 300;
    m_settings.enabled = false;
    ASSERT_EQ(Configure(), ulk::sOk);
    EXPECT_FALSE(m_tracer->IsEnabled(0));
    EXPECT_EQ(m_tracer->GetBuffer(300, 512), nullptr);
    EXPECT_FALSE(std::filesystem::exists(m_logFolder)) << "nothing is created while tracing is off";

    const auto configure = [this](std::int32_t level, bool enabled) {
        m_settings.level = level;
        m_settings.enabled = enabled;
        EXPECT_EQ(Configure(), ulk::sOk);
    };
    configure(700, true);
    EXPECT_TRUE(m_tracer->IsEnabled(700));
    EXPECT_FALSE(m_tracer->IsEnabled(701));
    Write(700, "written");
    Write(800, "not written");
    configure(0, true);
    EXPECT_FALSE(m_tracer->IsEnabled(300));

    // A record that was opened before tracing was turned off is handed back without a trace.
    configure(800, true);
    ulk::TraceBuffer* buffer = m_tracer->GetBuffer(800, 512);
    ASSERT_NE(buffer, nullptr);
    buffer->text = "late";
    configure(800, false);
    m_tracer->Submit(buffer);
    m_tracer->Submit(nullptr);
    EXPECT_EQ(Lines().size(), 1u);
}

TEST_F(TracerTest, RotatesBySizeAndNumber) {
    m_settings.fileSizeLimit = 4096;
    m_settings.fileCount = 3;
    ASSERT_EQ(Configure(), ulk::sOk);
    for (int i = 0; i < 1000; ++i)
        Write(800, "line " + std::to_string(i) + " " + std::string(50, 'x'));
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_logFolder)) {
        names.insert(entry.path().filename().string());
        EXPECT_LE(std::filesystem::file_size(entry.path()), 4096u) << entry.path();
        EXPECT_GT(std::filesystem::file_size(entry.path()), 0u) << entry.path();
    }
    EXPECT_EQ(names, (std::set<std::string>{"tesl-gui.17.log", "tesl-gui.17.1.log", "tesl-gui.17.2.log"}));
    EXPECT_NE(Lines().back().find("line 999 "), std::string::npos);
    // What is kept is one piece.
    int next = -1;
    for (const char* end : {"2.log", "1.log", "log"})
        for (const std::string& line : Lines(end)) {
            const int number = std::stoi(line.substr(line.find("line ") + 5));
            EXPECT_TRUE(next == -1 || number == next);
            next = number + 1;
        }
    EXPECT_EQ(next, 1000);
}

TEST_F(TracerTest, OneFileIsKeptWithinItsLimit) {
    m_settings.fileSizeLimit = 2000;
    m_settings.fileCount = 0;
    ASSERT_EQ(Configure(), ulk::sOk);
    for (int i = 0; i < 200; ++i)
        Write(800, std::string(100, 'x'));
    EXPECT_LE(std::filesystem::file_size(LogPath()), 2000u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_logFolder), {}), 1);
}

TEST_F(TracerTest, HostileTextStaysOnItsLine) {
    ASSERT_EQ(Configure(), ulk::sOk);
    struct Case {
        std::string text;
        std::string written;
    };
    const Case cases[] = {
        {"a\nforged\t300\tline", "a\\nforged\\t300\\tline"},
        {std::string("nul\0 esc\x1B[31m del\x7F cr\r", 22), "nul\\x00 esc\\x1b[31m del\\x7f cr\\r"},
        {"Grüße 天气 😀", "Grüße 天气 😀"},
        {"csi\xC2\x9B ls\xE2\x80\xA8 rlo\xE2\x80\xAE", "csi\\xc2\\x9b ls\\xe2\\x80\\xa8 rlo\\xe2\\x80\\xae"},
        {"bad\xFF cut\xE5\xA4", "bad\\xff cut\\xe5\\xa4"},
        {"overlong\xC0\x8A surrogate\xED\xA0\x80", "overlong\\xc0\\x8a surrogate\\xed\\xa0\\x80"},
        {"\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
        {"%s%n $(reboot)", "%s%n $(reboot)"},
        {"a\\nb \\x1b", "a\\\\nb \\\\x1b"}, // doesn't pass for an escape
    };
    for (const Case& c : cases)
        Write(800, c.text);
    const auto lines = Lines();
    ASSERT_EQ(lines.size(), std::size(cases));
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(lines[i].ends_with("\t800\t" + cases[i].written)) << lines[i];
}

TEST_F(TracerTest, VeryLongTextIsCut) {
    ASSERT_EQ(Configure(), ulk::sOk);
    Write(800, std::string(10 << 20, 'y'));
    Write(800, "after");
    const auto lines = Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_LT(lines[0].size(), 64u << 10);
    EXPECT_TRUE(lines[0].ends_with("yyy..."));
    EXPECT_TRUE(lines[1].ends_with("after"));
}

TEST_F(TracerTest, ManyThreadsWriteWholeLines) {
    m_settings.fileSizeLimit = 100000;
    m_settings.fileCount = 100;
    ASSERT_EQ(Configure(), ulk::sOk);
    constexpr int kThreads = 8;
    constexpr int kLines = 1000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([this, t] {
            for (int i = 0; i < kLines; ++i)
                ULK_TRACE(m_tracer.Get(), 800) << "thread " << t << " line " << i << " end";
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> seen;
    const std::regex whole("[^\t]*\t[0-9]+\t800\t(thread [0-7] line [0-9]+) end");
    for (const auto& entry : std::filesystem::directory_iterator(m_logFolder)) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            std::smatch match;
            ASSERT_TRUE(std::regex_match(line, match, whole)) << line;
            EXPECT_TRUE(seen.insert(match[1]).second) << line;
        }
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(kThreads * kLines));
}

TEST_F(TracerTest, RefusesFoldersAndFilesThatAreNotItsOwn) {
    const auto expectSilent = [&](const char* what) {
        EXPECT_EQ(Configure(), ulk::eAccessDenied) << what;
        EXPECT_FALSE(m_tracer->IsEnabled(300)) << what;
        Write(300, "lost");
    };
    const std::string target = m_folder / "target";
    ASSERT_EQ(::mkdir(target.c_str(), 0700), 0);
    ASSERT_EQ(::symlink(target.c_str(), (m_folder / "link").c_str()), 0);
    SetFolder(m_folder / "link");
    expectSilent("linked folder");
    SetFolder(m_folder / "link/");
    expectSilent("linked folder with a slash");
    SetFolder(m_folder / "open");
    ASSERT_EQ(::mkdir(m_logFolder.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(m_logFolder.c_str(), 0777), 0);
    expectSilent("folder that everybody may write to");
    ASSERT_EQ(::chmod(m_logFolder.c_str(), 0700), 0);
    test::WriteFile(target + "/victim", "precious");
    ASSERT_EQ(::symlink((target + "/victim").c_str(), LogPath().c_str()), 0);
    expectSilent("linked file");
    EXPECT_EQ(test::ReadFile(target + "/victim"), "precious");
    if (::geteuid() == 0) {
        ::unlink(LogPath().c_str());
        test::WriteFile(LogPath(), "");
        ASSERT_EQ(::chown(LogPath().c_str(), 65534, 65534), 0);
        expectSilent("another user's file");
        ::unlink(LogPath().c_str());
        ASSERT_EQ(::chown(m_logFolder.c_str(), 65534, 65534), 0);
        expectSilent("another user's folder");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target), {}), 1) << "nothing but the victim";
}

TEST_F(TracerTest, UnusableSettingsLeaveItSilent) {
    test::WriteFile(m_folder / "file", "");
    for (const std::string& folder :
         {m_folder / "file", m_folder / "file/below", std::string(), std::string("/proc/x")}) {
        SetFolder(folder);
        EXPECT_TRUE(ULK_FAILED(Configure())) << folder;
        EXPECT_FALSE(m_tracer->IsEnabled(0)) << folder;
    }
    SetFolder(m_folder / "log");
    m_settings.fileStem = u"../escape.";
    EXPECT_EQ(Configure(), ulk::eInvalidArgument);
    m_settings.fileStem = ulk::types::string16_t(u"\xD800", 1);
    EXPECT_EQ(Configure(), ulk::eInvalidArgument);
    EXPECT_FALSE(m_tracer->IsEnabled(0));
}

TEST_F(TracerTest, FolderTakenAwayCostsLinesOnly) {
    m_settings.fileSizeLimit = 2000;
    ASSERT_EQ(Configure(), ulk::sOk);
    Write(800, "before");
    std::filesystem::remove_all(m_logFolder);
    test::WriteFile(m_logFolder, "a file where the folder was");
    for (int i = 0; i < 100; ++i)
        Write(800, std::string(100, 'x')); // rotates into nothing
    std::filesystem::remove(m_logFolder);
    // It comes back by itself, a second later at the earliest.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!std::filesystem::exists(LogPath()) && std::chrono::steady_clock::now() < deadline)
        Write(800, "back again");
    ASSERT_TRUE(std::filesystem::exists(LogPath()));
    Write(800, "and stays");
    EXPECT_TRUE(Lines().back().ends_with("and stays"));
}

TEST_F(TracerTest, FullDiskCostsLinesOnly) {
    // A limit on the size of files fails a write as a full disk does.
    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    ASSERT_EQ(Configure(), ulk::sOk);
    Write(800, "before");
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = std::filesystem::file_size(LogPath()) + 10;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    for (int i = 0; i < 10; ++i)
        Write(800, "does not fit");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, previous);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    bool back = false;
    while (!back && std::chrono::steady_clock::now() < deadline) {
        Write(800, "fits again");
        back = Lines().back().ends_with("fits again");
    }
    EXPECT_TRUE(back);
}

} // namespace
