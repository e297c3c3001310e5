// SPDX-License-Identifier: GPL-2.0-or-later
// How long Storage keeps what it has.
#include <service/storage/expiry.h>
#include <tests/unit/service/storage_fixture.h>

namespace tfs::service::storage {
namespace {

constexpr std::int64_t Day = 24 * 60 * 60;

TEST(Expiry, NothingGoesThatWasNotAnnouncedADayBefore) {
    constexpr std::int64_t Added = 1000 * Day;
    const struct {
        const char* name;
        std::int64_t announced;
        std::uint32_t days;
        std::int64_t now;
        bool announce, remove, takeBack;
        std::optional<std::int64_t> next;
    } rows[] = {
        {"without limit", 0, 0, Added + 5000 * Day, false, false, false, {}},
        {"young", 0, 30, Added + 28 * Day, false, false, false, Added + 29 * Day},
        {"a day before", 0, 30, Added + 29 * Day, true, false, false, Added + 30 * Day},
        {"announced", Added + 29 * Day, 30, Added + 30 * Day - 1, false, false, false, Added + 30 * Day},
        {"over", Added + 29 * Day, 30, Added + 30 * Day, false, true, false, {}},
        {"clock set forward", 0, 30, Added + 400 * Day, true, false, false, Added + 401 * Day},
        {"clock set back behind it", Added + 400 * Day, 30, Added + Day, false, false, true, Added + 29 * Day},
        {"clock set back a little", Added + 31 * Day, 30, Added + 30 * Day, false, false, false, Added + 32 * Day},
        {"limit raised", Added + 29 * Day, 60, Added + 30 * Day, false, false, true, Added + 59 * Day},
        {"limit taken away", Added + 29 * Day, 0, Added + 30 * Day, false, false, true, {}},
        {"one day", 0, 1, Added, true, false, false, Added + Day},
    };
    for (const auto& row : rows) {
        ObjectRecord record;
        record.addedTime = Added;
        record.announcedTime = row.announced;
        const DueExpiry due = WhatExpires(record, row.days, row.now);
        EXPECT_EQ(due.announce, row.announce) << row.name;
        EXPECT_EQ(due.remove, row.remove) << row.name;
        EXPECT_EQ(due.takeBack, row.takeBack) << row.name;
        EXPECT_EQ(due.next, row.next) << row.name;
        EXPECT_TRUE(!due.announce || due.daysLeft == 1) << row.name << ": " << due.daysLeft;
    }
}

TEST_F(StorageTest, AnObjectIsAnnouncedAndThenGoes) {
    Start({3, 0});
    m_clock.NextWait();
    const BackupId id = Keep("bad");
    EXPECT_EQ(m_clock.NextWait(), tests::Monday + 2 * Day);
    m_clock.Set(tests::Monday + 2 * Day);
    EXPECT_EQ(m_clock.NextWait(), tests::Monday + 3 * Day);
    const auto soon = m_recorder.Of(EventName::BackupObjectRemovedSoon);
    ASSERT_EQ(soon.size(), 1u);
    EXPECT_EQ(ValueOf<std::uint64_t>(soon[0], AdditionalName::ObjectId), id);
    EXPECT_EQ(ValueOf<std::uint32_t>(soon[0], AdditionalName::DaysLeft), 1u);
    Start({3, 0}); // it isn't announced a second time
    EXPECT_EQ(m_clock.NextWait(), tests::Monday + 3 * Day);
    EXPECT_EQ(m_recorder.Of(EventName::BackupObjectRemovedSoon).size(), 1u);
    m_area->SetSettings({10, 0});
    EXPECT_EQ(m_clock.NextWait(), tests::Monday + 9 * Day);
    m_area->SetSettings({3, 0});
    m_clock.NextWait();
    EXPECT_EQ(m_recorder.Of(EventName::BackupObjectRemovedSoon).size(), 2u) << "told anew";
    m_clock.Set(tests::Monday + 3 * Day);
    m_clock.NextWait();
    EXPECT_TRUE(Items().empty());
    EXPECT_FALSE(Exists(Blob(id)));
    const auto removed = m_recorder.Of(EventName::ObjectRemovedFromBackup);
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(removed[0].initiator, types::EventInitiator::Product);
}

} // namespace
} // namespace tfs::service::storage
