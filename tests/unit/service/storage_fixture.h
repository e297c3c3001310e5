// SPDX-License-Identifier: GPL-2.0-or-later
// Storage in a test's own folder, with real files beside it.
#pragma once

#include <service/storage/storage_area.h>
#include <tests/unit/service/task_registry_fixture.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/test_clock.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::storage {

using tasks::ValueOf;
using tests::Content;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

inline const std::string Sample = "a sample that is found\n";
inline constexpr std::uint32_t Nobody = 65534;
inline const Actor Administrator{{0, u"root"}, true, true};

/// A file as somebody who has scanned it hands it on.
struct Found : FoundObject {
    explicit Found(const std::string& name) : descriptor(::open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
        EXPECT_TRUE(descriptor) << name;
        file = descriptor.Get();
        path = name;
        detectName = "Sample.Of.Tests";
    }
    scanner::Descriptor descriptor;
};

class StorageTest : public testing::Test {
protected:
    StorageTest() {
        EXPECT_EQ(::chmod(m_folder.Path().c_str(), 0755), 0);
        Start();
    }
    ~StorageTest() override { m_area.reset(); }

    void Start(tfs::settings::BackupSettings settings = {}) {
        m_area.reset();
        m_area = std::make_unique<StorageArea>(Objects(), settings, m_recorder, m_clock, ulk::Ptr<ulk::ITracer>());
        m_area->Start();
    }
    std::string Objects() const { return m_folder.File("objects/"); }
    std::string Blob(BackupId id) const { return Objects() + std::to_string(id) + ".object"; }
    std::string Write(const std::string& name, const std::string& content = Sample) const {
        return m_folder.Write(name, content);
    }
    bool Exists(const std::string& path) const {
        struct stat status {};
        return ::lstat(path.c_str(), &status) == 0;
    }
    result_t Take(const FoundObject& found) {
        m_why.clear();
        return m_area->Take(found, m_id, m_why);
    }
    /// The object of a new file that is moved at once.
    BackupId Keep(const std::string& name, const std::string& content = Sample) {
        EXPECT_EQ(Take(Found(Write(name, content))), ulk::sOk) << m_why;
        return m_id;
    }
    BackupItems Items(const Actor& actor = Administrator) {
        BackupItems items;
        EXPECT_EQ(m_area->Query(actor, {}, items), ulk::sOk);
        return items;
    }
    static QueryFilter ById(BackupId id, const ulk::types::string16_t& operation = u"==") {
        return {QueryClause{u"ObjectId", operation, id}};
    }

    TempFolder m_folder;
    tasks::Recorder m_recorder;
    tests::TestClock m_clock;
    BackupId m_id = 0;
    std::string m_why;
    std::unique_ptr<StorageArea> m_area;
};

} // namespace tfs::service::storage
