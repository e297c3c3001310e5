// SPDX-License-Identifier: GPL-2.0-or-later
// The paths of a release build, whatever root this build has.
#define TESL_ROOT ""
#include <contract/product_paths.h>

#include <gtest/gtest.h>

namespace tfs::paths {
namespace {

TEST(ProductPaths, WithoutARootAreThoseOfTheInstallation) {
    EXPECT_STREQ(Root, "");
    EXPECT_STREQ(LibexecFolder, "/opt/tolvander/tesl/libexec/");
    EXPECT_STREQ(GuiProgram, "/opt/tolvander/tesl/libexec/tesl-gui");
    EXPECT_STREQ(ServiceProgram, "/opt/tolvander/tesl/libexec/tesl-service");
    EXPECT_STREQ(ControlProgram, "/opt/tolvander/tesl/bin/tesl-control");
    EXPECT_STREQ(LibraryFolder, "/opt/tolvander/tesl/libarm64/");
    EXPECT_STREQ(LocalizationFolder, "/opt/tolvander/tesl/shared/loc/");
    EXPECT_STREQ(DocumentFolder, "/opt/tolvander/tesl/doc/");
    EXPECT_STREQ(CertifiedMarker, "/opt/tolvander/tesl/doc/cert.info");
    EXPECT_STREQ(ResourceFolder, "/opt/tolvander/tesl/resource/");
    EXPECT_STREQ(PolicyFolder, "/etc/opt/tolvander/tesl/policy.d/");
    EXPECT_STREQ(Configuration, "/var/opt/tolvander/tesl/common/tesl.ini");
    EXPECT_STREQ(DumpFolder, "/var/opt/tolvander/tesl/common/dumps/");
    EXPECT_STREQ(LogFolder, "/var/log/tolvander/tesl/");
    EXPECT_STREQ(UserLogFolder, "/var/log/tolvander/tesl-user/");
    EXPECT_STREQ(ServiceSocket, "/var/run/bl4control");
    EXPECT_STREQ(GuiPidFilePrefix, "/tmp/.tesl-gui-");
}

} // namespace
} // namespace tfs::paths
