// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <platform/remoting/connection.h>
#include <platform/remoting/connection_factory.h>
#include <platform/remoting/socket_connect.h>
#include <platform/remoting/transport.h>

#include <unistd.h>

namespace ulk::remoting {

ConnectionFactory::ConnectionFactory(IServiceLocator* locator) noexcept {
    // Connections work untraced too.
    (void)GetInterface(locator, m_tracer.Ref());
}

result_t ConnectionFactory::CreateRemoteRpc(utils::Anyptr settings, IRemoteConnection** connection) noexcept {
    if (connection == nullptr)
        return eInvalidArgument;
    *connection = nullptr;
    const auto* given = settings.As<ConnectionSettings>();
    if (given == nullptr)
        return eInvalidType;
    try {
        ConnectionLimits limits(*given);
        const auto deadline = std::chrono::steady_clock::now() + limits.connectTimeout;
        int socket = -1;
        if (const result_t result = ConnectSocket(limits.address, deadline, socket); !ULK_SUCCEEDED(result))
            return result;
        std::shared_ptr<ConnectionLoop> loop;
        try {
            loop = std::make_shared<ConnectionLoop>(std::make_shared<ConnectionCore>(std::move(limits), m_tracer));
            Transport::Process().Add(loop);
        } catch (...) {
            ::close(socket);
            throw;
        }
        if (const result_t result = loop->Start(socket, deadline); !ULK_SUCCEEDED(result))
            return result;
        *connection = new Connection(std::move(loop));
        return sOk;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

} // namespace ulk::remoting
