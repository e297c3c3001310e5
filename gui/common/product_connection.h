// SPDX-License-Identifier: GPL-2.0-or-later
// The one object that knows whether the local service can be reached.
#pragma once

#include <foundation/object.h>
#include <tfs_common/config_data.h>

#include <QtCore/QObject>
#include <QtCore/QRecursiveMutex>
#include <QtCore/QTimer>
#include <boost/signals2/signal.hpp>
#include <chrono>
#include <future>
#include <memory>

namespace tfs::remote {
class UlkRemoteClientInitializer;
}

namespace tfs::gui {

/// Polls once a second, holds the remote client and hands out the remote locator. Created in RunQtGui, lives on the
/// GUI thread until the event loop has ended; the locator may be asked for from any thread.
class ProductConnection : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isConnectedToProduct READ isConnectedToProduct NOTIFY isConnectedToProductChanged)
    Q_PROPERTY(bool isCertifiedBuild READ isCertifiedBuild NOTIFY isCertifiedBuildChanged)
    Q_PROPERTY(QString appIsUnavailableText READ appIsUnavailableText NOTIFY appIsUnavailableTextChanged)
    Q_PROPERTY(QString certifiedBuildText READ certifiedBuildText NOTIFY certifiedBuildTextChanged)

public:
    explicit ProductConnection(QObject* parent);
    ~ProductConnection() override;

    /// Begins polling; the first poll comes after the first second.
    void Start(ulk::IServiceLocator* localServiceLocator, std::shared_ptr<const tfs::loader::ConfigData> config);

    /// Makes sure of the connection, opening it where there is none. Never throws. Opening goes on beside the caller;
    /// the GUI thread waits for it only briefly: a service that accepts and then stays silent counts as unreachable
    /// meanwhile.
    bool CheckConnection();
    /// Null without a connection. The pointer carries no reference of the caller's: for the GUI thread only.
    ulk::IServiceLocator* GetRemoteServiceLocator();
    /// The same with a reference, for any thread. Other threads than the GUI's wait for a connection that is being
    /// opened until the transport gives it up, unless the attempt before it has failed too.
    ulk::Ptr<ulk::IServiceLocator> AcquireRemoteServiceLocator();

    bool isConnectedToProduct() const { return m_isConnectedToProduct; }
    bool isCertifiedBuild() const { return m_isCertifiedBuild; }
    QString appIsUnavailableText() const { return m_appIsUnavailableText; }
    QString certifiedBuildText() const { return m_certifiedBuildText; }

    boost::signals2::signal<void()>& Lost() { return m_lost; }
    boost::signals2::signal<void()>& Established() { return m_established; }

    Q_SIGNAL void isConnectedToProductChanged();
    Q_SIGNAL void isCertifiedBuildChanged();
    Q_SIGNAL void appIsUnavailableTextChanged();
    Q_SIGNAL void certifiedBuildTextChanged();

public Q_SLOTS:
    void onTimer();

private:
    using Client = std::unique_ptr<tfs::remote::UlkRemoteClientInitializer>;
    struct Attempt {
        Client client;
        result_t result = ulk::eNotReady;
    };
    using AttemptResult = std::shared_future<std::shared_ptr<Attempt>>;

    /// Whether the service is reached, and whether the last poll had reached it.
    std::pair<bool, bool> Poll();
    bool IsGuiThread() const;
    void BeginAttempt();
    void AwaitAttempt() noexcept;
    Client OpenClient();
    void DropClient() noexcept;
    void SetConnected(bool connected);
    void SetCertifiedBuild(bool certified);
    void SetText(QString& field, const QString& text, void (ProductConnection::*changed)());

    bool m_isConnectedToProduct = false;
    bool m_isCertifiedBuild = false;
    QString m_appIsUnavailableText;
    QString m_certifiedBuildText;
    ulk::Ptr<ulk::IServiceLocator> m_localServiceLocator;
    std::shared_ptr<const tfs::loader::ConfigData> m_config;
    Client m_remoteClient;
    AttemptResult m_attempt;
    std::chrono::steady_clock::time_point m_attemptDeadline;
    bool m_hasLastAttemptFailed = false;
    std::chrono::steady_clock::time_point m_lastAttemptEnd;
    ulk::Ptr<ulk::IServiceLocator> m_remoteServiceLocator;
    bool m_wasConnected = false;
    /// A client was dropped since the last poll that found one. Whatever is subscribed through it is dead, also where
    /// another thread has opened a new one by the next poll.
    bool m_wasClientDropped = false;
    std::unique_ptr<QTimer> m_timer;
    /// Guards the remote client, the attempt under way, the remote locator and the memory of the last poll.
    QRecursiveMutex m_mutex;
    boost::signals2::signal<void()> m_lost;
    boost::signals2::signal<void()> m_established;
};

} // namespace tfs::gui
