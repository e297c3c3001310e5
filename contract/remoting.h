// SPDX-License-Identifier: GPL-2.0-or-later
// The way to a service in another process: factory, connection, remote locator.
#pragma once

#include <foundation/object.h>

#include <memory>
#include <string>
#include <utility>

namespace utils {

/// A value of any type together with its type's number, for records that pass through an interface.
class Anyptr {
public:
    Anyptr() = default;
    template <class T>
    explicit Anyptr(T value) : m_type(T::TypeNumber), m_value(std::make_shared<T>(std::move(value))) {}
    /// Null where the value is of another type.
    template <class T>
    const T* As() const noexcept {
        return m_type == T::TypeNumber ? static_cast<const T*>(m_value.get()) : nullptr;
    }

private:
    std::uint32_t m_type = 0;
    std::shared_ptr<void> m_value;
};

template <class T>
Anyptr MakeAnyptr(T value) {
    return Anyptr(std::move(value));
}

} // namespace utils

namespace ulk::remoting {

/// Classes and identifiers of module `remoting`.
inline constexpr std::uint32_t ConnectionFactoryClass = 0x8003A97Eu;
inline constexpr std::uint32_t TransportServiceClass = 0xB807F8E2u;

/// Zero in a numeric field means the default.
struct ConnectionSettings {
    static constexpr std::uint32_t TypeNumber = 0x51A40E91u;
    std::uint32_t connectTimeoutMs = 0;   ///< default 2000
    std::uint32_t callTimeoutMs = 0;      ///< default 5000
    std::uint32_t heartbeatMs = 0;        ///< default 1000
    std::uint32_t messageSizeLimit = 0;   ///< bytes, default 16 MiB
    std::uint32_t callsInFlightLimit = 0; ///< default 64
    std::string address;                  ///< path of the service's socket
};

/// One connection to the service. All operations may be called from any thread.
class IRemoteConnection : public IObject {
public:
    static constexpr iid_t Iid = 0x7D0C41A6u;
    /// The remote locator while the connection is alive, else eNotReady. Reads a flag and never blocks. Interfaces
    /// looked up on it are proxies of the interfaces in contract/; a lookup waits at most the call's deadline.
    virtual result_t GetServiceLocator(IServiceLocator** locator) noexcept = 0;
    /// Fails every call under way with eNotReady, closes the socket and joins the loop thread. Safe to call twice.
    virtual void Shutdown() noexcept = 0;

protected:
    ~IRemoteConnection() = default;
};

class IConnectionFactory : public IObject {
public:
    static constexpr iid_t Iid = 0x8003A97Eu;
    /// Connects (at most connectTimeoutMs) to the socket named in a ConnectionSettings and gets the remote bootstrap.
    /// A missing or refusing socket is eNotReady, one that this user may not open eAccessDenied; a peer that stays
    /// silent eTimeout, one that answers garbage or another version eInvalidVersion, one with no place left for this
    /// user eInsufficientResources, as are this process's own descriptors. Many who are refused at once find eNotReady.
    virtual result_t CreateRemoteRpc(utils::Anyptr settings, IRemoteConnection** connection) noexcept = 0;

protected:
    ~IConnectionFactory() = default;
};

/// Process-wide part of the transport.
class ITransport : public IObject {
public:
    static constexpr iid_t Iid = 0xFE614BF3u;
    /// Shuts every connection down. Called once, before the locator goes.
    virtual void Shutdown() noexcept = 0;

protected:
    ~ITransport() = default;
};

/// The transport service: a locator on which ITransport is looked up.
class ITransportService : public IServiceLocator {
public:
    static constexpr iid_t Iid = 0xB807F8E2u;

protected:
    ~ITransportService() = default;
};

} // namespace ulk::remoting
