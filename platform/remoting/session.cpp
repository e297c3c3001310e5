// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <platform/remoting/connection_core.h>
#include <platform/remoting/session.h>
#include <wire/protocol.h>
#include <wire/text.h>

#include <capnp/message.h>
#include <cassert>
#include <kj/io.h>
#include <unistd.h>

namespace ulk::remoting {
namespace {

namespace schema = tfs::wire::schema;

std::string ProgramName() {
    char path[4096];
    const ssize_t size = ::readlink("/proc/self/exe", path, sizeof(path));
    const std::string text(path, size > 0 ? static_cast<std::size_t>(size) : 0);
    return text.substr(text.rfind('/') + 1);
}

} // namespace

Session::Session(kj::AsyncIoContext& io, kj::AutoCloseFd socket, ConnectionCore& core)
    : m_core(core), m_timer(io.provider->getTimer()),
      m_socket(io.lowLevelProvider->wrapSocketFd(kj::mv(socket), kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC)),
      m_stream(*m_socket, tfs::wire::StreamLimits{core.Limits().messageSize}),
      m_network(m_stream, capnp::rpc::twoparty::Side::CLIENT, tfs::wire::NetworkOptions()),
      m_rpc(capnp::makeRpcClient(m_network)), m_tasks(*this) {
    m_stream.SetOnEnd([this](tfs::wire::StreamEnd why) { OnStreamEnd(why); });
    m_tasks.add(m_network.onDisconnect().then([this] { OnStreamEnd(tfs::wire::StreamEnd::Closed); }));
}

Session::~Session() noexcept(false) {
    AssertThread();
    m_stream.SetOnEnd([](tfs::wire::StreamEnd) {});
}

void Session::AssertThread() const { assert(m_core.Queue().IsCurrent()); }

void Session::Greet(std::shared_ptr<CallTicket<Nothing>> ticket) {
    m_greeting = std::move(ticket);
    capnp::MallocMessageBuilder message(8);
    auto server = message.initRoot<capnp::rpc::twoparty::VatId>();
    server.setSide(capnp::rpc::twoparty::Side::SERVER);
    m_locator = m_rpc.bootstrap(server).castAs<schema::Locator>();

    auto request = Locator().helloRequest();
    request.setVersion(tfs::wire::ProtocolVersion);
    const std::string program = ProgramName();
    request.setProgram(tfs::wire::AsData(std::string_view(program)));
    m_tasks.add(request.send().then(
        [this](auto&& answer) {
            result_t code = answer.getResult();
            if (ULK_SUCCEEDED(code) && answer.getVersion() != tfs::wire::ProtocolVersion)
                code = eInvalidVersion;
            if (ULK_SUCCEEDED(code)) {
                m_core.SetAlive(true);
                m_tasks.add(Beat());
            }
            AnswerGreeting(code);
            if (!ULK_SUCCEEDED(code))
                End("the service refused the greeting");
        },
        [this](kj::Exception&& e) {
            // A service that was merely lost is told by the stream; this is one that doesn't know the call.
            AnswerGreeting(e.getType() == kj::Exception::Type::DISCONNECTED ? eNotReady : eInvalidVersion);
            End("the greeting failed");
        }));
}

void Session::AnswerGreeting(result_t code) {
    if (const auto ticket = std::exchange(m_greeting, nullptr))
        ticket->Answer(code);
}

schema::Locator::Client& Session::Locator() {
    AssertThread();
    KJ_IF_MAYBE (locator, m_locator)
        return *locator;
    throw ResultCodeException(__FILE__, __LINE__, eNotReady);
}

capnp::Capability::Client& Session::Find(iid_t iid) {
    AssertThread();
    const auto found = m_objects.find(iid);
    if (found == m_objects.end())
        throw ResultCodeException(__FILE__, __LINE__, eNoInterface);
    return found->second;
}

void Session::Keep(iid_t iid, capnp::Capability::Client object) {
    AssertThread();
    m_objects.insert_or_assign(iid, kj::mv(object));
}

void Session::KeepSubscription(const Subscription* subscription, schema::EventSubscription::Client handle) {
    AssertThread();
    m_subscriptions.insert_or_assign(subscription, kj::mv(handle));
}

schema::EventSubscription::Client Session::TakeSubscription(const Subscription* subscription) {
    AssertThread();
    auto node = m_subscriptions.extract(subscription);
    if (node.empty())
        throw ResultCodeException(__FILE__, __LINE__, eNotFound);
    return kj::mv(node.mapped());
}

void Session::DropSubscription(const Subscription* subscription) {
    AssertThread();
    m_subscriptions.erase(subscription);
}

void Session::Track(std::uint64_t callId, kj::Promise<void> promise) {
    AssertThread();
    auto canceler = kj::heap<kj::Canceler>();
    auto wrapped = canceler->wrap(kj::mv(promise));
    m_cancelers.emplace(callId, kj::mv(canceler));
    m_tasks.add(wrapped.then([this, callId] { m_cancelers.erase(callId); },
                             [this, callId](kj::Exception&&) { m_cancelers.erase(callId); }));
}

void Session::Cancel(std::uint64_t callId) {
    AssertThread();
    if (const auto found = m_cancelers.find(callId); found != m_cancelers.end()) {
        // The canceller ends the promise, whose continuation takes it off the list.
        auto canceler = kj::mv(found->second);
        m_cancelers.erase(found);
        canceler->cancel("deadline");
    }
}

kj::Promise<void> Session::Beat() {
    const auto interval = m_core.Limits().heartbeat.count() * kj::MILLISECONDS;
    return m_timer.afterDelay(interval)
        .then([this, interval] {
            return m_timer.timeoutAfter(2 * interval, Locator().pingRequest().send().ignoreResult());
        })
        .then([this] { return Beat(); },
              [this](kj::Exception&&) -> kj::Promise<void> {
                  End("the service doesn't answer");
                  return kj::READY_NOW;
              });
}

void Session::OnStreamEnd(tfs::wire::StreamEnd why) {
    const bool broken = why == tfs::wire::StreamEnd::Broken;
    AnswerGreeting(broken ? eInvalidVersion : eNotReady);
    End(broken ? "the service sent what isn't the protocol" : "the service closed the connection");
}

void Session::End(const char* reason) {
    AssertThread();
    if (m_core.SetAlive(false)) {
        ULK_TRACE(m_core.Tracer(), level::Notable) << "remoting: connection ended: " << reason;
    }
    m_core.Queue().RequestStop();
}

void Session::taskFailed(kj::Exception&& exception) {
    ULK_TRACE(m_core.Tracer(), level::Failure) << "remoting: " << exception.getDescription().cStr();
}

} // namespace ulk::remoting
