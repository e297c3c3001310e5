// SPDX-License-Identifier: GPL-2.0-or-later
// Serves on the given socket until its standard input ends. Says "r" when ready; publishes an event for each byte read.
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>

#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    tfs::test::FakeService service;
    service.tasks = {tfs::test::FullTaskInfo()};
    tfs::test::FakeFeed feed(1024);
    tfs::service::rpc::RpcServer::Options options;
    options.socketPath = argv[1];
    options.developmentRun = true;
    tfs::service::rpc::RpcServer server(options, service, service, feed, nullptr);
    if (const result_t result = server.Start(); !ULK_SUCCEEDED(result)) {
        std::fprintf(stderr, "cannot start: %s\n", ulk::ResultText(result).data());
        return 1;
    }
    if (::write(STDOUT_FILENO, "r", 1) != 1)
        return 1;
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1) {
        tfs::Event event;
        event.type = tfs::types::EventName::TaskStateChanged;
        feed.Publish(std::move(event));
    }
    return 0;
}
