// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/failure.h>
#include <control/path_arguments.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tfs::control {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class PathArguments : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "tesl-paths-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = fs::canonical(pattern);
        m_previous = fs::current_path();
        fs::create_directory(m_folder / "sub");
        std::ofstream(m_folder / "file") << "x";
        fs::create_symlink(m_folder / "sub", m_folder / "link");
        fs::create_symlink("nowhere", m_folder / "dangling");
        fs::current_path(m_folder);
    }
    void TearDown() override {
        fs::current_path(m_previous);
        fs::remove_all(m_folder);
    }

    ExitCode CodeOf(const std::string& argument) {
        try {
            AbsolutePaths({argument});
        } catch (const Failure& failure) {
            return failure.Code();
        }
        return ExitCode::Ok;
    }

    fs::path m_folder;
    fs::path m_previous;
};

TEST_F(PathArguments, BecomeAbsoluteResolvedAndSingle) {
    EXPECT_THAT(AbsolutePaths({"file", "./sub/../file", m_folder / "file", "link", "."}),
                ElementsAre(m_folder / "file", m_folder / "sub", m_folder));
}

TEST_F(PathArguments, ThatNameNothingAreRefused) {
    EXPECT_EQ(CodeOf(""), ExitCode::Usage);
    EXPECT_EQ(CodeOf(std::string("file\0more", 9)), ExitCode::Usage);
    EXPECT_EQ(CodeOf("missing\nline"), ExitCode::NotFound);
    EXPECT_EQ(CodeOf("dangling"), ExitCode::NotFound);
    EXPECT_EQ(CodeOf("file/below"), ExitCode::NotFound);
    EXPECT_EQ(CodeOf(std::string(5000, 'a')), ExitCode::NotFound);
}

TEST_F(PathArguments, InAFolderThatMayNotBeReadAreLeftToTheService) {
    if (geteuid() == 0) {
        ASSERT_EQ(CodeOf("sub"), ExitCode::Ok); // root may read every folder: nothing to refuse
        return;
    }
    fs::permissions(m_folder / "sub", fs::perms::none);
    EXPECT_THAT(AbsolutePaths({"sub/hidden"}), ElementsAre(m_folder / "sub/hidden"));
    fs::permissions(m_folder / "sub", fs::perms::owner_all);
}

} // namespace
} // namespace tfs::control
