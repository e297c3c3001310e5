// SPDX-License-Identifier: GPL-2.0-or-later
// Objects on their way back, and out for ever.
#include <service/store/sqlite.h>
#include <tests/unit/service/storage_fixture.h>

#include <filesystem>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/xattr.h>

namespace tfs::service::storage {
namespace {

namespace fs = std::filesystem;

const Actor User{{Nobody, u"nobody"}, false, true};

#define SKIP_UNLESS_ROOT()                                                                                             \
    if (::geteuid() != 0)                                                                                              \
    GTEST_SKIP() << "not run: only root may give files away and take on another user's rights"

/// An access control list as the kernel keeps it: version 2; owner rw, the user 1234 r, group none, mask r, others
/// none.
std::string AccessList() {
    const std::uint16_t entries[][4] = {{0x01, 6, 0xFFFF, 0xFFFF},
                                        {0x02, 4, 1234, 0},
                                        {0x04, 0, 0xFFFF, 0xFFFF},
                                        {0x10, 4, 0xFFFF, 0xFFFF},
                                        {0x20, 0, 0xFFFF, 0xFFFF}};
    std::string list("\2\0\0\0", 4);
    return list.append(reinterpret_cast<const char*>(entries), sizeof entries);
}

std::string Attribute(const std::string& path, const char* name) {
    std::string value(256, '\0');
    const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
    value.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return value;
}

struct Traits {
    explicit Traits(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        mode = status.st_mode;
        uid = status.st_uid;
        gid = status.st_gid;
        modified = status.st_mtim.tv_sec * 1000000000 + status.st_mtim.tv_nsec;
        for (const char* name : {"user.tesl", "system.posix_acl_access", "security.capability"})
            attributes += std::string(name) + "=" + Attribute(path, name) + "\n";
    }
    mode_t mode = 0;
    uid_t uid = 0;
    gid_t gid = 0;
    std::int64_t modified = 0;
    std::string attributes;
    friend bool operator==(const Traits&, const Traits&) = default;
};

TEST_F(StorageTest, RightsOwnersTimesAndAttributesComeBack) {
    SKIP_UNLESS_ROOT();
    vfs_cap_data capability{};
    capability.magic_etc = VFS_CAP_REVISION_2 | VFS_CAP_FLAGS_EFFECTIVE;
    capability.data[0].permitted = 1u << CAP_NET_RAW;
    const std::string capabilities(reinterpret_cast<const char*>(&capability), XATTR_CAPS_SZ_2);
    const struct {
        const char* name;
        mode_t mode;
        std::vector<std::pair<const char*, std::string>> attributes;
    } rows[] = {{"setuid", 06755, {{"user.tesl", "a value"}}},
                {"list", 0640, {{"system.posix_acl_access", AccessList()}}},
                {"capable", 0755, {{"security.capability", capabilities}}}};
    for (const auto& row : rows) {
        const std::string path = Write(row.name);
        ASSERT_EQ(::chown(path.c_str(), 1234, 1235), 0);
        ASSERT_EQ(::chmod(path.c_str(), row.mode), 0);
        for (const auto& [name, value] : row.attributes)
            ASSERT_EQ(::setxattr(path.c_str(), name, value.data(), value.size(), 0), 0) << name;
        const timespec times[] = {{1000000000, 1}, {1000000001, 123456789}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        const Traits before(path);
        ASSERT_EQ(Take(Found(path)), ulk::sOk) << m_why;
        ASSERT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
        EXPECT_EQ(Traits(path), before) << row.name << "\n" << Traits(path).attributes << before.attributes;
        EXPECT_EQ(Content(path), Sample);
    }
    EXPECT_TRUE(Items().empty());
    EXPECT_EQ(m_recorder.Of(EventName::ObjectRestoredFromBackup).size(), 3u);
    EXPECT_EQ(m_recorder.Of(EventName::ObjectRemovedFromBackup).size(), 3u);
}

TEST_F(StorageTest, NothingIsEverWrittenOver) {
    fs::create_directories(m_folder.File("d"));
    const BackupId id = Keep("d/../bad");
    const std::string path = fs::canonical(m_folder.Path()).string() + "/bad";
    m_folder.Write("bad", "somebody's own");
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::eAlreadyExists);
    EXPECT_EQ(Content(path), "somebody's own");
    fs::remove(path);
    fs::create_symlink(m_folder.File("nowhere"), path);
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::eAlreadyExists);
    EXPECT_FALSE(Exists(m_folder.File("nowhere")));
    fs::remove(path);
    EXPECT_EQ(m_area->Restore(Administrator, id + 1), ulk::eNotFound);
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::sOk);
    EXPECT_EQ(Content(path), Sample);
}

TEST_F(StorageTest, AFolderThatIsMissingOrALinkOrReadOnlyIsToldApart) {
    fs::create_directories(m_folder.File("d"));
    fs::create_directories(m_folder.File("elsewhere"));
    const BackupId id = Keep("d/bad");
    fs::remove(m_folder.File("d"));
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::ePathNotFound);
    fs::create_symlink(m_folder.File("elsewhere"), m_folder.File("d"));
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::ePathNotFound);
    EXPECT_TRUE(fs::is_empty(m_folder.File("elsewhere")));
    fs::remove(m_folder.File("d"));
    m_folder.Write("d", "a file");
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::ePathNotFound);
    fs::remove(m_folder.File("d"));
    fs::create_directories(m_folder.File("d"));
    if (::geteuid() == 0 && ::mount("none", m_folder.File("d").c_str(), "tmpfs", MS_RDONLY, nullptr) == 0) {
        EXPECT_EQ(m_area->Restore(Administrator, id), eReadOnlyFileSystem);
        ASSERT_EQ(::umount(m_folder.File("d").c_str()), 0);
    }
    EXPECT_EQ(m_area->Restore(Administrator, id), ulk::sOk);
    EXPECT_EQ(Content(m_folder.File("d/bad")), Sample);
}

TEST_F(StorageTest, AUserRestoresWhatWasHisWhereHeMayWrite) {
    SKIP_UNLESS_ROOT();
    fs::create_directories(m_folder.File("system"));
    fs::create_directories(m_folder.File("home"));
    ASSERT_EQ(::chown(m_folder.File("home").c_str(), Nobody, Nobody), 0);
    const auto keepOf = [&](const std::string& name, uid_t uid, mode_t mode) {
        const std::string path = Write(name);
        EXPECT_EQ(::chown(path.c_str(), uid, uid), 0);
        EXPECT_EQ(::chmod(path.c_str(), mode), 0);
        EXPECT_EQ(Take(Found(path)), ulk::sOk) << m_why;
        return m_id;
    };
    const BackupId roots = keepOf("home/roots", 0, 04755);
    const BackupId outside = keepOf("system/own", Nobody, 0644);
    const BackupId own = keepOf("home/own", Nobody, 0750);
    EXPECT_EQ(m_area->Restore(User, roots), ulk::eAccessDenied);
    EXPECT_FALSE(Exists(m_folder.File("home/roots")));
    EXPECT_EQ(m_area->Restore(User, outside), ulk::eAccessDenied);
    EXPECT_FALSE(Exists(m_folder.File("system/own")));
    EXPECT_EQ(m_area->Remove(User, {}), ulk::eAccessDenied);
    EXPECT_EQ(Items().size(), 3u) << "all of them or none";
    EXPECT_EQ(Items({User.user, false, false}).size(), 2u);
    EXPECT_EQ(m_area->Restore(User, own), ulk::sOk);
    struct stat status {};
    ASSERT_EQ(::stat(m_folder.File("home/own").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, Nobody);
    EXPECT_EQ(status.st_mode & 07777u, 0750u);
    EXPECT_EQ(m_area->Remove(User, ById(outside)), ulk::sOk);
    const auto removed = m_recorder.Of(EventName::ObjectRemovedFromBackup);
    ASSERT_FALSE(removed.empty());
    EXPECT_EQ(removed.back().initiator, types::EventInitiator::User);
    EXPECT_EQ(removed.back().initiatorUser->uid, Nobody);
}

TEST_F(StorageTest, WhatWasTamperedWithIsToldAndPutsNothingBack) {
    const std::string path = m_folder.File("bad");
    const auto size = static_cast<std::uintmax_t>(fs::file_size(Blob(Keep("bad"))));
    const auto flip = [](const std::string& blob, std::uintmax_t at) {
        std::fstream file(blob, std::ios::in | std::ios::out | std::ios::binary);
        file.seekg(static_cast<std::streamoff>(at));
        const char byte = static_cast<char>(file.get());
        file.seekp(static_cast<std::streamoff>(at));
        file.put(static_cast<char>(byte ^ 0x40));
    };
    for (std::uintmax_t at = 0; at <= size; at += 7) {
        const BackupId id = Keep("bad");
        flip(Blob(id), at);
        EXPECT_FALSE(ULK_SUCCEEDED(m_area->Restore(Administrator, id))) << at;
        EXPECT_FALSE(Exists(path)) << at;
    }
    for (std::uintmax_t length = 0; length < size; length += 31) {
        const BackupId id = Keep("bad");
        fs::resize_file(Blob(id), length);
        EXPECT_EQ(m_area->Restore(Administrator, id), ulk::eInvalidState) << length;
    }
    const BackupId one = Keep("one", "one");
    const BackupId two = Keep("two", "two");
    fs::rename(Blob(two), Blob(one));
    EXPECT_EQ(m_area->Restore(Administrator, one), ulk::eInvalidState) << "another object's bytes";
    EXPECT_EQ(m_area->Restore(Administrator, two), ulk::eFileNotFound);
    fs::remove(Blob(one));
    fs::create_symlink("/etc/passwd", Blob(one));
    EXPECT_FALSE(ULK_SUCCEEDED(m_area->Restore(Administrator, one)));
    EXPECT_FALSE(Exists(m_folder.File("one")));
    EXPECT_EQ(m_area->Remove(Administrator, {}), ulk::sOk);
    EXPECT_TRUE(Items().empty());
    EXPECT_TRUE(fs::exists("/etc/passwd"));
}

TEST_F(StorageTest, ATamperedRecordLeadsNowhere) {
    const BackupId id = Keep("bad");
    fs::create_directories(m_folder.File("system"));
    const std::string paths[] = {m_folder.File("system/bad"), m_folder.File("x/../system/bad"), "relative", "",
                                 m_folder.Path() + "/"};
    for (const std::string& path : paths) {
        m_area.reset();
        {
            store::Connection connection(Objects() + "objects.db", store::Connection::Mode::ReadWriteCreate);
            store::Statement update = connection.Prepare("UPDATE object SET path=?, owner=65534 WHERE id=?");
            update.BindBlob(1, path);
            update.Bind(2, static_cast<std::int64_t>(id));
            update.Step();
        }
        Start();
        EXPECT_EQ(m_area->Restore(Administrator, id), ulk::eInvalidState) << path;
        EXPECT_TRUE(fs::is_empty(m_folder.File("system")));
    }
    EXPECT_EQ(m_area->Remove(Administrator, ById(id)), ulk::sOk);
}

TEST_F(StorageTest, OnlyOneOfTwoRestoresOrRemovesTheSameObject) {
    constexpr int Rounds = 20;
    for (int i = 0; i < Rounds; ++i) {
        const BackupId id = Keep("bad", std::string(300000, 'x'));
        result_t restored = 0;
        result_t removed = 0;
        std::thread other([&] { restored = m_area->Restore(Administrator, id); });
        removed = m_area->Remove(Administrator, ById(id));
        other.join();
        EXPECT_TRUE(Items().empty());
        EXPECT_EQ(Exists(m_folder.File("bad")), ULK_SUCCEEDED(restored));
        EXPECT_TRUE(restored == ulk::sOk || restored == ulk::eNotFound || restored == ulk::eLocked) << restored;
        EXPECT_TRUE(removed == ulk::sOk || removed == ulk::eLocked) << removed;
        fs::remove(m_folder.File("bad"));
    }
    EXPECT_EQ(m_recorder.Of(EventName::ObjectRemovedFromBackup).size(), static_cast<std::size_t>(Rounds));
}

} // namespace
} // namespace tfs::service::storage
