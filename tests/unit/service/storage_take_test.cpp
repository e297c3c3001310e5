// SPDX-License-Identifier: GPL-2.0-or-later
// Files on their way into Storage, some of them hostile.
#include <tests/unit/service/storage_fixture.h>

#include <filesystem>
#include <sys/resource.h>
#include <sys/xattr.h>
#include <thread>

namespace tfs::service::storage {
namespace {

namespace fs = std::filesystem;

TEST_F(StorageTest, AFileIsGoneFromItsPlaceKeptEncodedAndListed) {
    const std::string path = Write("bad.bin");
    Found found(path);
    found.taskName = u"Scan_File";
    found.taskType = task_type::ODS;
    found.taskId = 102;
    ASSERT_EQ(Take(found), ulk::sOk) << m_why;
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(m_why, "");
    EXPECT_EQ(Content(Blob(m_id)).find(Sample.substr(2, 10)), std::string::npos);
    struct stat status {};
    ASSERT_EQ(::stat(Blob(m_id).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);
    ASSERT_EQ(::stat(Objects().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0700u);

    const BackupItems items = Items();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].id, m_id);
    EXPECT_EQ(items[0].objectName, ulk::text::ToUtf16Lossy(path));
    EXPECT_EQ(items[0].detectName, "Sample.Of.Tests");
    EXPECT_EQ(items[0].fileSize, Sample.size());
    EXPECT_EQ(items[0].addedTime.ticks, (tests::Monday + 11644473600) * 10000000);
    const auto saved = m_recorder.Of(EventName::ObjectSavedToBackup);
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(ValueOf<std::uint64_t>(saved[0], AdditionalName::ObjectId), m_id);
    EXPECT_EQ(ValueOf<std::uint64_t>(saved[0], AdditionalName::TaskId), 102u);
    Start(); // after a restart it is the same
    EXPECT_EQ(Items(), items);
    EXPECT_GT(Keep("other"), items[0].id);
}

TEST_F(StorageTest, QueriesTakeTheirVocabularyAndNothingElse) {
    const BackupId first = Keep("1");
    const BackupId second = Keep("2");
    const auto ids = [&](const QueryFilter& filter) {
        BackupItems items;
        EXPECT_EQ(m_area->Query(Administrator, filter, items), ulk::sOk);
        std::vector<BackupId> found;
        for (const BackupItemInfo& item : items)
            found.push_back(item.id);
        return found;
    };
    EXPECT_EQ(ids({}), (std::vector{first, second}));
    EXPECT_EQ(ids(ById(second)), std::vector{second});
    EXPECT_EQ(ids(ById(second, u"!=")), std::vector{first});
    EXPECT_EQ(ids({{u"ObjectId", u"==", first, u"OR"}, {u"ObjectId", u"==", second, u"OR"}}),
              (std::vector{first, second}));
    EXPECT_EQ(ids({{u"ObjectId", u"==", first}, {u"ObjectId", u"==", second}}), std::vector<BackupId>());
    EXPECT_EQ(ids({{u"ChildrenList", u"contains", first}}), std::vector<BackupId>());
    const QueryClause wrong[] = {{u"Id", u"==", first},
                                 {u"ObjectId", u"<", first},
                                 {u"ObjectId", u"==", std::int32_t{1}},
                                 {u"ObjectId", u"==", first, u"XOR"},
                                 {u"ChildrenList", u"==", first}};
    for (const QueryClause& clause : wrong) {
        BackupItems items(3);
        EXPECT_EQ(m_area->Query(Administrator, {clause}, items), ulk::eInvalidArgument);
        EXPECT_EQ(items.size(), 3u);
        EXPECT_EQ(m_area->Remove(Administrator, {clause}), ulk::eInvalidArgument);
    }
    EXPECT_EQ(Items().size(), 2u);
}

TEST_F(StorageTest, HolesStayHolesInFilesOfFiveGigabytes) {
    constexpr off_t Size = off_t{5} << 30;
    const std::string path = Write("sparse", "");
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::ftruncate(file, Size), 0);
    for (const off_t at : {off_t{0}, off_t{3} << 30, Size - static_cast<off_t>(Sample.size())})
        ASSERT_EQ(::pwrite(file, Sample.data(), Sample.size(), at), static_cast<ssize_t>(Sample.size()));
    struct stat before {};
    ASSERT_EQ(::fstat(file, &before), 0);
    ::close(file);
    ASSERT_EQ(Take(Found(path)), ulk::sOk) << m_why;
    struct stat blob {};
    ASSERT_EQ(::stat(Blob(m_id).c_str(), &blob), 0);
    EXPECT_LT(blob.st_size, 1 << 20);
    ASSERT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
    struct stat after {};
    ASSERT_EQ(::stat(path.c_str(), &after), 0);
    EXPECT_EQ(after.st_size, Size);
    EXPECT_LE(after.st_blocks, before.st_blocks + 16);
    const scanner::Descriptor restored(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string part(Sample.size(), '\0');
    ASSERT_EQ(::pread(restored.Get(), part.data(), part.size(), off_t{3} << 30), static_cast<ssize_t>(part.size()));
    EXPECT_EQ(part, Sample);
}

TEST_F(StorageTest, LargeFilesAreStreamed) {
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    constexpr std::size_t Size = 96u << 20;
    const std::string path = Write("large", "");
    for (std::size_t at = 0; at < Size; at += 1u << 20)
        std::ofstream(path, std::ios::binary | std::ios::app) << std::string(1u << 20, static_cast<char>(at >> 20));
    ASSERT_EQ(Take(Found(path)), ulk::sOk) << m_why;
    ASSERT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
    EXPECT_EQ(fs::file_size(path), Size);
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024) << "kilobytes";
}

TEST_F(StorageTest, AFileOfTwoNamesIsKeptOnceAndComesBackUnderBoth) {
    const std::string one = Write("one");
    const std::string two = m_folder.File("two");
    ASSERT_EQ(::link(one.c_str(), two.c_str()), 0);
    const Found first(one);
    ASSERT_EQ(Take(first), ulk::sOk);
    const BackupId id = m_id;
    EXPECT_EQ(m_why, "other names that the file still has: 1");
    EXPECT_FALSE(Exists(one));
    EXPECT_EQ(Content(two), Sample);
    ASSERT_EQ(Take(Found(two)), ulk::sOk);
    EXPECT_EQ(m_id, id);
    EXPECT_FALSE(Exists(two));
    EXPECT_EQ(Items().size(), 1u);
    EXPECT_EQ(m_recorder.Of(EventName::ObjectSavedToBackup).size(), 1u);
    Start();
    ASSERT_EQ(m_area->Restore(Administrator, id), ulk::sOk);
    EXPECT_TRUE(fs::equivalent(one, two));
    EXPECT_EQ(Content(two), Sample);
}

TEST_F(StorageTest, ASecondNameOfAFileThatWasChangedSinceIsAnObjectOfItsOwn) {
    const std::string one = Write("one");
    const std::string two = m_folder.File("two");
    ASSERT_EQ(::link(one.c_str(), two.c_str()), 0);
    struct stat status {};
    ASSERT_EQ(::stat(one.c_str(), &status), 0);
    ASSERT_EQ(Take(Found(one)), ulk::sOk);
    const BackupId id = m_id;
    std::ofstream(two, std::ios::binary | std::ios::in) << "B"; // of the same size, and its time is put back
    const timespec times[] = {status.st_atim, status.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, two.c_str(), times, 0), 0);
    ASSERT_EQ(Take(Found(two)), ulk::sOk);
    EXPECT_NE(m_id, id);
    ASSERT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
    EXPECT_EQ(Content(two), "B" + Sample.substr(1));
}

TEST_F(StorageTest, TheLastNameOfAFileWhoseCopyIsLostIsCopiedAgain) {
    const std::string one = Write("one");
    const std::string two = m_folder.File("two");
    ASSERT_EQ(::link(one.c_str(), two.c_str()), 0);
    ASSERT_EQ(Take(Found(one)), ulk::sOk);
    const BackupId lost = m_id;
    fs::remove(Blob(lost));
    ASSERT_EQ(Take(Found(two)), ulk::sOk) << m_why;
    EXPECT_NE(m_id, lost);
    EXPECT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
    EXPECT_EQ(Content(two), Sample);
}

TEST_F(StorageTest, WhatHasTheNameByNowIsLeftAlone) {
    const struct {
        const char* name;
        void (*swap)(const TempFolder&);
    } rows[] = {
        {"another file", [](const TempFolder& f) { f.Write("d/bad", "innocent"); }},
        {"a link to another file",
         [](const TempFolder& f) { fs::create_symlink(f.File("innocent"), f.File("d/bad")); }},
        {"a folder", [](const TempFolder& f) { fs::create_directory(f.File("d/bad")); }},
        {"nothing", [](const TempFolder&) {}},
        {"a folder's link to another folder",
         [](const TempFolder& f) {
             fs::remove(f.File("d"));
             fs::create_symlink(f.File("e"), f.File("d"));
         }},
    };
    for (const auto& row : rows) {
        fs::remove_all(m_folder.File("d"));
        fs::create_directories(m_folder.File("d"));
        fs::create_directories(m_folder.File("e"));
        m_folder.Write("innocent", "innocent");
        m_folder.Write("e/bad", "innocent");
        const Found found(Write("d/bad"));
        ASSERT_EQ(::unlink(found.path.c_str()), 0);
        row.swap(m_folder);
        EXPECT_EQ(Take(found), ulk::eAlreadyDone) << row.name;
        EXPECT_EQ(Content(m_folder.File("innocent")), "innocent") << row.name;
        EXPECT_EQ(Content(m_folder.File("e/bad")), "innocent") << row.name;
    }
    EXPECT_TRUE(Items().empty());
    EXPECT_FALSE(m_recorder.Has(EventName::ObjectSaveToBackupFailed));
}

TEST_F(StorageTest, TheFileIsFoundBehindALinkAndUnderANewName) {
    fs::create_directories(m_folder.File("real"));
    fs::create_symlink(m_folder.File("real"), m_folder.File("linked"));
    const Found behind(Write("linked/bad"));
    ASSERT_EQ(Take(behind), ulk::sOk) << m_why;
    EXPECT_FALSE(Exists(m_folder.File("real/bad")));
    const Found renamed(Write("bad"));
    ASSERT_EQ(::rename(renamed.path.c_str(), m_folder.File("harmless").c_str()), 0);
    ASSERT_EQ(Take(renamed), ulk::sOk) << m_why;
    EXPECT_FALSE(Exists(m_folder.File("harmless")));
    EXPECT_EQ(Items()[1].objectName, ulk::text::ToUtf16Lossy(fs::canonical(m_folder.Path()).string() + "/harmless"));
}

TEST_F(StorageTest, NamesThatAreOnlyBytesAndPathsOfAnyLengthComeBack) {
    std::string deep;
    for (int i = 0; i < 30; ++i)
        deep += "/" + std::string(200, 'd');
    const int before = ::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::chdir(m_folder.Path().c_str()), 0);
    for (int i = 0; i < 30; ++i) {
        ASSERT_EQ(::mkdir(std::string(200, 'd').c_str(), 0700), 0);
        ASSERT_EQ(::chdir(std::string(200, 'd').c_str()), 0);
    }
    const std::string name = "\xff\n$(x)\x1b[0m";
    std::ofstream(name) << Sample;
    Found found(name);
    found.path = fs::canonical(m_folder.Path()).string() + deep + "/" + name;
    ASSERT_EQ(Take(found), ulk::sOk) << m_why;
    EXPECT_FALSE(Exists(name));
    EXPECT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
    EXPECT_EQ(Content(name), Sample);
    ASSERT_EQ(::fchdir(before), 0);
    ::close(before);
}

TEST_F(StorageTest, AFileThatIsWrittenAllTheWhileStays) {
    const std::string path = Write("busy");
    Found found(path);
    int asked = 0;
    found.cancelled = [&] {
        std::ofstream(path, std::ios::app) << "more";
        ++asked;
        return false;
    };
    EXPECT_EQ(Take(found), ulk::eLocked);
    EXPECT_GE(asked, 3);
    EXPECT_TRUE(Exists(path));
    EXPECT_TRUE(Items().empty());
    EXPECT_TRUE(m_recorder.Has(EventName::ObjectSaveToBackupFailed));
    found.cancelled = [&] { return true; };
    EXPECT_EQ(Take(found), ulk::eCancelled);
    EXPECT_TRUE(Exists(path));
    const Found folder(m_folder.Path());
    EXPECT_EQ(Take(folder), ulk::eNotSupported);
    for (const auto& entry : fs::directory_iterator(Objects()))
        EXPECT_TRUE(entry.path().filename().string().starts_with("objects.db")) << entry.path();
}

TEST_F(StorageTest, ANewObjectReplacesTheOneOfTheSamePath) {
    const BackupId first = Keep("bad", "the first");
    const BackupId second = Keep("bad", "the second");
    ASSERT_EQ(Items().size(), 1u);
    EXPECT_EQ(Items()[0].id, second);
    EXPECT_FALSE(Exists(Blob(first)));
    const auto removed = m_recorder.Of(EventName::ObjectRemovedFromBackup);
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(ValueOf<std::uint64_t>(removed[0], AdditionalName::ObjectId), first);
}

TEST_F(StorageTest, WhatDoesNotFitUnderTheLimitStaysAndIsToldOnce) {
    Start({0, 1});
    const BackupId first = Keep("first", std::string(700 << 10, 'x'));
    for (const char* name : {"second", "third"}) {
        const std::string path = Write(name, std::string(400 << 10, 'x'));
        EXPECT_EQ(Take(Found(path)), ulk::eInsufficientResources);
        EXPECT_TRUE(Exists(path));
    }
    EXPECT_EQ(m_recorder.Of(EventName::ObjectSaveToBackupFailed).size(), 2u);
    EXPECT_EQ(m_recorder.Of(EventName::BackupSizeLimitReached).size(), 1u);
    Keep("first", std::string(900 << 10, 'x')); // what it replaces makes room
    EXPECT_EQ(Items().size(), 1u);
    EXPECT_NE(Items()[0].id, first);
    ASSERT_EQ(m_area->Remove(Administrator, {}), ulk::sOk);
    EXPECT_EQ(Take(Found(m_folder.File("second"))), ulk::sOk);
    m_area->SetSettings({0, 0});
    EXPECT_EQ(Take(Found(m_folder.File("third"))), ulk::sOk);
}

TEST_F(StorageTest, OnBehalfOfAUserOnlyWhatHeCouldRemoveGoes) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "not run: only root can take on another user's rights";
    fs::create_directories(m_folder.File("system"));
    fs::create_directories(m_folder.File("home"));
    ASSERT_EQ(::chown(m_folder.File("home").c_str(), Nobody, Nobody), 0);
    Found systems(Write("system/bad"));
    Found own(Write("home/bad"));
    systems.rightsOf = own.rightsOf = Nobody;
    EXPECT_EQ(Take(systems), ulk::eAccessDenied);
    EXPECT_TRUE(Exists(systems.path));
    EXPECT_EQ(Take(own), ulk::sOk) << m_why;
    EXPECT_FALSE(Exists(own.path));
}

TEST_F(StorageTest, ManyAtOnceAreKeptEach) {
    constexpr int Count = 40;
    for (int i = 0; i < Count; ++i)
        Write("bad" + std::to_string(i), Sample + std::to_string(i));
    const auto take = [&](int part) {
        for (int i = part; i < Count; i += 4) {
            BackupId id = 0;
            std::string why;
            EXPECT_EQ(m_area->Take(Found(m_folder.File("bad" + std::to_string(i))), id, why), ulk::sOk) << why;
        }
    };
    std::vector<std::thread> threads;
    for (int part = 0; part < 4; ++part)
        threads.emplace_back(take, part);
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_EQ(Items().size(), static_cast<std::size_t>(Count));
    for (const BackupItemInfo& item : Items())
        EXPECT_EQ(m_area->Restore(Administrator, item.id), ulk::sOk);
    for (int i = 0; i < Count; ++i)
        EXPECT_EQ(Content(m_folder.File("bad" + std::to_string(i))), Sample + std::to_string(i));
}

} // namespace
} // namespace tfs::service::storage
