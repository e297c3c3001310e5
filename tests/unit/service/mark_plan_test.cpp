// SPDX-License-Identifier: GPL-2.0-or-later
// Where marks are set, from tables of mounts.
#include <service/realtime/mark_plan.h>

#include <gtest/gtest.h>

namespace tfs::service::realtime {
namespace {

constexpr char Table[] =
    "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
    "21 20 8:2 / /home rw - ext4 /dev/sda2 rw\n"
    "22 20 0:30 /@var /var rw - btrfs /dev/sdb rw\n"
    "23 20 8:1 /srv/data /mnt/bound rw - ext4 /dev/sda1 rw\n"
    "24 20 0:40 / /net rw - nfs4 server:/ rw\n"
    "25 20 0:50 / /merged rw - overlay overlay rw,lowerdir=/opt/a:/opt/b,upperdir=/home/u,workdir=/home/w\n"
    "26 20 0:51 / /far rw - overlay overlay rw,lowerdir=/net/a,upperdir=/net/u,workdir=/net/w\n";

TEST(MarkPlan, MarksAsLittleAsCoversTheAreas) {
    const auto mounts = scan::ParseMountTable(Table);
    const auto marks = [&](std::vector<std::string> areas) { return PlanMarks(areas, mounts).marks; };
    using Marks = std::vector<PlannedMark>;
    EXPECT_EQ(marks({"/", "/home"}), (Marks{{"/", true, "8:1"}, {"/home", true, "8:2"}}));
    EXPECT_EQ(marks({"/home/user"}), (Marks{{"/home/user", false, "8:2"}})) << "a part of a file system";
    EXPECT_EQ(marks({"/var"}), (Marks{{"/var", true, "0:30"}}));
    EXPECT_EQ(marks({"/mnt/bound"}), (Marks{{"/mnt/bound", false, "8:1"}})) << "bound from another file system";
    EXPECT_EQ(marks({"/merged", "/"}), (Marks{{"/", true, "8:1"}})) << "the overlay's layers are watched already";
    EXPECT_EQ(marks({"/merged", "/opt/a"}), (Marks{{"/opt/a", false, "8:1"}}));
    EXPECT_EQ(marks({"/merged"}), (Marks{{"/merged", true, "0:50"}}));
    EXPECT_EQ(marks({"/far", "/"}), (Marks{{"/", true, "8:1"}, {"/far", true, "0:51"}}));
    const MarkPlan remote = PlanMarks({"/net/a"}, mounts);
    EXPECT_TRUE(remote.marks.empty());
    EXPECT_EQ(remote.problems.size(), 1u);
}

} // namespace
} // namespace tfs::service::realtime
