// SPDX-License-Identifier: GPL-2.0-or-later
// Makes connections.
#pragma once

#include <contract/remoting.h>
#include <foundation/trace.h>

namespace ulk::remoting {

/// Any thread. Needs the tracer of the locator that it is made with; does without where there is none.
class ConnectionFactory final : public SimpleObjectBase<NoServiceStrategy, IConnectionFactory> {
public:
    explicit ConnectionFactory(IServiceLocator* locator) noexcept;
    result_t CreateRemoteRpc(utils::Anyptr settings, IRemoteConnection** connection) noexcept override;

private:
    Ptr<ITracer> m_tracer;
};

} // namespace ulk::remoting
