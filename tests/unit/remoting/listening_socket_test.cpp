// SPDX-License-Identifier: GPL-2.0-or-later
// What may stand at the socket's path before the service comes, and what is left when it goes.
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/raw_peer.h>
#include <tests/unit/remoting/test_client.h>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::test {

namespace fs = std::filesystem;

class ListeningSocketTest : public ::testing::Test {
protected:
    service::rpc::RpcServer Server(const std::string& socketPath) {
        service::rpc::RpcServer::Options options;
        options.socketPath = socketPath;
        return service::rpc::RpcServer(options, service, service, feed, nullptr);
    }

    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    const std::string path = folder.File("socket");
};

TEST_F(ListeningSocketTest, IsOpenToAllAndGoesWithTheServer) {
    auto server = Server(path);
    ASSERT_EQ(server.Start(), ulk::sOk);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0666u);
    EXPECT_EQ(server.Start(), ulk::eInvalidState);
    server.Stop();
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(server.Start(), ulk::sOk);
}

TEST_F(ListeningSocketTest, StaleSocketIsReplaced) {
    {
        const Stranger gone(path, [](int) {});
    }
    ASSERT_TRUE(fs::exists(path));
    auto server = Server(path);
    EXPECT_EQ(server.Start(), ulk::sOk);
}

TEST_F(ListeningSocketTest, LiveServiceIsLeftAlone) {
    auto first = Server(path);
    ASSERT_EQ(first.Start(), ulk::sOk);
    auto second = Server(path);
    EXPECT_EQ(second.Start(), ulk::eAlreadyExists);
    second.Stop();
    Client client(path);
    EXPECT_EQ(client.result, ulk::sOk);
}

TEST_F(ListeningSocketTest, OtherThingsAtThePathAreLeftAlone) {
    std::ofstream(path) << "a file";
    EXPECT_EQ(Server(path).Start(), ulk::eAlreadyExists);
    EXPECT_EQ(fs::file_size(path), 6u);
    fs::remove(path);

    // A link to a stale socket is not the socket.
    {
        const Stranger gone(folder.File("stale"), [](int) {});
    }
    fs::create_symlink(folder.File("stale"), path);
    EXPECT_EQ(Server(path).Start(), ulk::eAlreadyExists);
    EXPECT_TRUE(fs::is_symlink(path));
    fs::remove(path);

    fs::create_symlink(folder.File("nowhere"), path);
    EXPECT_EQ(Server(path).Start(), ulk::eAlreadyExists);
    fs::remove(path);

    fs::create_directory(path);
    EXPECT_EQ(Server(path).Start(), ulk::eAlreadyExists);
}

TEST_F(ListeningSocketTest, SocketOfASuccessorSurvivesTheStop) {
    auto server = Server(path);
    ASSERT_EQ(server.Start(), ulk::sOk);
    fs::remove(path);
    const Stranger successor(path, [](int) {});
    server.Stop();
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(ListeningSocketTest, FolderOfEverybodyIsRefused) {
    ::chmod(folder.Path().c_str(), 0777);
    EXPECT_EQ(Server(path).Start(), ulk::eAccessDenied);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(Server(folder.File("none/socket")).Start(), ulk::eFileNotFound);
    EXPECT_EQ(Server("").Start(), ulk::eInvalidArgument);
}

} // namespace tfs::test
