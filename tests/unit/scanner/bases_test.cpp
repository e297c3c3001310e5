// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/bases.h>
#include <tests/unit/scanner/scan_files.h>

#include <filesystem>
#include <gtest/gtest.h>

namespace tfs::scanner {
namespace {

TEST(Bases, EveryFileThatChangesVerdictsChangesTheFingerprint) {
    const test::TemporaryFolder folder;
    folder.Write("a.hdb", "44d88612fea8a8f36de82e1278abb02f:68:Name\n");
    std::uint64_t last = InspectBases(folder.Path()).fingerprint;
    EXPECT_EQ(InspectBases(folder.Path()).fingerprint, last);
    const auto changed = [&] {
        const std::uint64_t before = std::exchange(last, InspectBases(folder.Path()).fingerprint);
        return before != last;
    };
    for (const char* name : {"b.ndb", "exceptions.ign2", "clean.fp", "switches.cfg"}) {
        folder.Write(name, "text");
        EXPECT_TRUE(changed()) << name << " comes";
        folder.Write(name, "longer text");
        EXPECT_TRUE(changed()) << name << " changes";
        std::filesystem::remove(folder / name);
        EXPECT_TRUE(changed()) << name << " goes";
    }
    EXPECT_EQ(InspectBases(folder.Path()).files, 1u);
}

} // namespace
} // namespace tfs::scanner
