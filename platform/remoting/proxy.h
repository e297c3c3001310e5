// SPDX-License-Identifier: GPL-2.0-or-later
// Base of the proxies: an interface of contract/ whose calls go to the service.
#pragma once

#include <foundation/object.h>
#include <platform/remoting/connection_core.h>

#include <chrono>
#include <memory>
#include <type_traits>
#include <utility>

namespace ulk::remoting {

/// Holds the connection's core, not the connection: a proxy never keeps a loop running, and its last Release may come
/// from any thread. `Contract` is the interface, `Schema` its counterpart on the wire.
template <class Contract, class Schema>
class Proxy : public SimpleObjectBase<NoServiceStrategy, Contract> {
public:
    explicit Proxy(std::shared_ptr<ConnectionCore> core) : m_core(std::move(core)) {}

protected:
    /// A call that yields a code alone and takes the time that large files do: it waits for its answer as long as the
    /// connection is alive, at most ConnectionLimits::longCallTimeout. Not for the GUI thread.
    template <class Build>
    result_t LongCall(Build build) noexcept {
        Nothing nothing;
        return Call(
            nothing, std::move(build), [](auto&, Nothing&) {}, Payload::OfGoodCode, Core()->Limits().longCallTimeout);
    }
    /// `build(client)` makes the request on the loop's thread from what it has copied; it must move without throwing,
    /// for which a copy of something constant is to be captured as `name = name`.
    template <class Build>
    result_t Call(Build build) noexcept {
        Nothing nothing;
        return Call(nothing, std::move(build), [](auto&, Nothing&) {});
    }
    /// `out` is filled for a good code, or for every code that the service answers with, and else stays as it is.
    template <class Record, class Build, class Read>
    result_t Call(Record& out, Build build, Read read, Payload payload = Payload::OfGoodCode) noexcept {
        return Call(out, std::move(build), std::move(read), payload, Core()->Limits().callTimeout);
    }
    const std::shared_ptr<ConnectionCore>& Core() const noexcept { return m_core; }

private:
    template <class Record, class Build, class Read>
    result_t Call(Record& out, Build build, Read read, Payload payload, std::chrono::milliseconds timeout) noexcept {
        static_assert(std::is_nothrow_move_constructible_v<Build> && std::is_nothrow_move_constructible_v<Read>);
        return m_core->Call(
            out,
            [build = std::move(build)](Session& session) {
                auto client = session.Get<Schema>(Contract::Iid);
                return build(client);
            },
            std::move(read), payload, timeout);
    }

    const std::shared_ptr<ConnectionCore> m_core;
};

} // namespace ulk::remoting
