// SPDX-License-Identifier: GPL-2.0-or-later
// Opens the connection to the service and holds it.
#pragma once

#include <contract/remoting.h>
#include <foundation/object.h>
#include <foundation/trace.h>
#include <tfs_common/config_data.h>

namespace tfs::remote {

/// Owned by whoever watches the connection and touched under his mutex alone. The fields' order is the reverse of the
/// order in which they are released.
class UlkRemoteClientInitializer {
public:
    /// Throws ulk::GetInterfaceException where the locator has no allocator or no tracer.
    explicit UlkRemoteClientInitializer(ulk::IServiceLocator* locator);
    /// Shuts the connection down.
    ~UlkRemoteClientInitializer();
    UlkRemoteClientInitializer(const UlkRemoteClientInitializer&) = delete;
    UlkRemoteClientInitializer& operator=(const UlkRemoteClientInitializer&) = delete;

    /// Connects to the service's socket and gets its locator. Blocks at most the connection's time limit. A failure is
    /// traced, its code returned, and nothing is kept.
    result_t Initialize(const tfs::loader::ConfigData& config);
    /// The remote locator while the connection is alive, without a reference added, else null. Doesn't block.
    ulk::IServiceLocator* GetRemoteServiceLocator();

private:
    ulk::IServiceLocator* GetServiceLocator() const noexcept { return m_locator.Get(); }

    ulk::Ptr<ulk::IAllocator> m_allocator;
    ulk::Ptr<ulk::ITracer> m_tracer;
    ulk::Ptr<ulk::IServiceLocator> m_locator;
    ulk::Ptr<ulk::remoting::IRemoteConnection> m_connection;
    ulk::Ptr<ulk::IServiceLocator> m_remoteLocator;
};

} // namespace tfs::remote
