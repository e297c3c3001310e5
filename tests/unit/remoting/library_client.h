// SPDX-License-Identifier: GPL-2.0-or-later
// A client of the RPC library alone, which does whatever the protocol lets it do.
#pragma once

#include <foundation/object.h>
#include <wire/protocol.h>
#include <wire/tesl.capnp.h>
#include <wire/text.h>

#include <capnp/rpc-twoparty.h>
#include <gtest/gtest.h>
#include <kj/async-io.h>
#include <memory>
#include <string>
#include <string_view>

namespace tfs::test {

/// Connected and greeted. One thread, which has no other loop meanwhile.
class LibraryClient {
public:
    explicit LibraryClient(const std::string& socketPath, std::string_view program = {})
        : m_io(kj::setupAsyncIo()), m_stream(m_io.provider->getNetwork()
                                                 .parseAddress(kj::str("unix:", socketPath))
                                                 .wait(Scope())
                                                 ->connect()
                                                 .wait(Scope())),
          m_client(std::make_unique<capnp::TwoPartyClient>(*m_stream)),
          m_locator(m_client->bootstrap().castAs<wire::schema::Locator>()),
          m_end(m_client->onDisconnect().then([this] { m_hasEnded = true; }).eagerlyEvaluate(nullptr)) {
        auto hello = m_locator.helloRequest();
        hello.setVersion(wire::ProtocolVersion);
        hello.setProgram(wire::AsData(program));
        EXPECT_EQ(hello.send().wait(Scope()).getResult(), ulk::sOk);
    }

    kj::WaitScope& Scope() { return m_io.waitScope; }
    wire::schema::Locator::Client& Locator() { return m_locator; }
    capnp::Capability::Client Get(ulk::iid_t iid) {
        auto request = m_locator.getInterfaceRequest();
        request.setId(iid);
        auto answer = request.send().wait(Scope());
        EXPECT_EQ(answer.getResult(), ulk::sOk);
        return answer.getObject();
    }
    /// What was sent before has been dealt with by the service.
    void RoundTrip() { m_locator.pingRequest().send().wait(Scope()); }
    /// The service has ended the connection. Does what there is to do for this client.
    bool HasEnded() {
        Scope().poll();
        return m_hasEnded;
    }

private:
    kj::AsyncIoContext m_io;
    kj::Own<kj::AsyncIoStream> m_stream;
    std::unique_ptr<capnp::TwoPartyClient> m_client;
    wire::schema::Locator::Client m_locator;
    bool m_hasEnded = false;
    kj::Promise<void> m_end;
};

} // namespace tfs::test
