// SPDX-License-Identifier: GPL-2.0-or-later
// The remote locator: identifiers in, proxies out.
#pragma once

#include <foundation/object.h>
#include <platform/remoting/connection_core.h>

#include <memory>

namespace ulk::remoting {

/// Any thread. The first lookup of an interface asks the service and waits at most a call's deadline; later ones don't.
/// Codes beside the transport's: eNoInterface for an identifier that either side doesn't know.
class RemoteLocator final : public SimpleObjectBase<NoServiceStrategy, IServiceLocator> {
public:
    explicit RemoteLocator(std::shared_ptr<ConnectionCore> core) : m_core(std::move(core)) {}
    result_t GetInterface(iid_t iid, std::uint32_t reserved, void** out) noexcept override;

private:
    const std::shared_ptr<ConnectionCore> m_core;
};

} // namespace ulk::remoting
