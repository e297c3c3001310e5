// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <remote/remote_client_initializer.h>

#include <utility>

namespace tfs::remote {

UlkRemoteClientInitializer::UlkRemoteClientInitializer(ulk::IServiceLocator* locator) {
    ulk::GetInterface(locator, m_allocator.Ref(), ulk::throwOnFailure);
    ulk::GetInterface(locator, m_tracer.Ref(), ulk::throwOnFailure);
    m_locator = ulk::Ptr<ulk::IServiceLocator>(locator);
}

UlkRemoteClientInitializer::~UlkRemoteClientInitializer() {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    if (m_connection)
        m_connection->Shutdown();
}

// The checks trace the text of their expressions, which is why this text is kept as it stands.
// clang-format off
result_t UlkRemoteClientInitializer::Initialize(const tfs::loader::ConfigData& config) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;

    ulk::Ptr<ulk::remoting::IConnectionFactory> factory;
    if (const result_t result = ULK_CHECK_TRACE(m_tracer.Get(),
            ulk::GetInterface(GetServiceLocator(), factory.Ref()), "Cannot create connection factory");
        !ULK_SUCCEEDED(result))
        return result;

    ulk::remoting::ConnectionSettings settings;
    settings.address = config.socketPath;

    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    if (const result_t result = ULK_CHECK_TRACE(m_tracer.Get(),
            factory->CreateRemoteRpc( utils::MakeAnyptr<ulk::remoting::ConnectionSettings>(settings), connection.Ref()),
            "Cannot create remote rpc");
        !ULK_SUCCEEDED(result))
        return result;

    ulk::Ptr<ulk::IServiceLocator> remoteSl;
    if (const result_t result = ULK_CHECK_TRACE(m_tracer.Get(),
            connection->GetServiceLocator(remoteSl.Ref()), "Cannot get remote service locator");
        !ULK_SUCCEEDED(result))
        return result;

    m_connection = std::move(connection);
    m_remoteLocator = std::move(remoteSl);
    return ulk::sOk;
}
// clang-format on

ulk::IServiceLocator* UlkRemoteClientInitializer::GetRemoteServiceLocator() {
    if (!ULK_CHECK_BOOL_TRACE(m_tracer.Get(), m_connection, "Cannot get remote service locator"))
        return nullptr;
    ulk::Ptr<ulk::IServiceLocator> remoteSl;
    if (!ULK_SUCCEEDED(ULK_CHECK_TRACE(m_tracer.Get(), m_connection->GetServiceLocator(remoteSl.Ref()),
                                       "Cannot get remote service locator")))
        return nullptr;
    m_remoteLocator = std::move(remoteSl);
    return m_remoteLocator.Get();
}

} // namespace tfs::remote
