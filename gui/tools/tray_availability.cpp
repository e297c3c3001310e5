// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/tools/tray_availability.h>
#include <gui/tools/xembed_tray.h>

#include <QtCore/QFileInfo>
#include <QtCore/QLoggingCategory>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>
#include <QtDBus/QDBusVariant>
#include <QtGui/QGuiApplication>
#include <utility>

namespace tfs::tools {
namespace {

constexpr int LookIntervalMs = 2000;
const QString WatcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString WatcherPath = QStringLiteral("/StatusNotifierWatcher");

/// A session bus that is already there: without one, asking for it would start one.
bool HasSessionBus() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtimeFolder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeFolder.isEmpty() && QFileInfo::exists(runtimeFolder + QStringLiteral("/bus"));
}

} // namespace

TrayAvailability::TrayAvailability(QObject* parent) : QObject(parent) {}

TrayAvailability::~TrayAvailability() = default;

void TrayAvailability::watch() {
    if (std::exchange(m_watching, true))
        return;
    if (HasSessionBus())
        WatchStatusNotifierHost();
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        connect(&m_timer, &QTimer::timeout, this, &TrayAvailability::LookForXEmbedTray);
        m_timer.start(LookIntervalMs);
        LookForXEmbedTray();
    }
}

void TrayAvailability::WatchStatusNotifierHost() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    auto* const watcher = new QDBusServiceWatcher(WatcherService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayAvailability::AskForStatusNotifierHost);
    bus.connect(WatcherService, WatcherPath, WatcherService, QStringLiteral("StatusNotifierHostRegistered"), this,
                SLOT(onHostRegistered()));
    AskForStatusNotifierHost();
}

void TrayAvailability::AskForStatusNotifierHost() {
    QDBusMessage question = QDBusMessage::createMethodCall(
        WatcherService, WatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << WatcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);
    auto* const call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError() && reply.value().variant().toBool())
            SetAvailable();
        call->deleteLater();
    });
}

void TrayAvailability::LookForXEmbedTray() {
    if (HasXEmbedTray())
        SetAvailable();
}

void TrayAvailability::showQuietly(QObject* trayIcon) {
    if (trayIcon == nullptr)
        return;
    QLoggingCategory& category = *QLoggingCategory::defaultCategory();
    const bool warns = category.isWarningEnabled();
    category.setEnabled(QtWarningMsg, false);
    trayIcon->setProperty("visible", true);
    category.setEnabled(QtWarningMsg, warns);
}

void TrayAvailability::onHostRegistered() { SetAvailable(); }

void TrayAvailability::SetAvailable() {
    m_timer.stop();
    if (m_available)
        return;
    m_available = true;
    Q_EMIT availableChanged(true);
}

} // namespace tfs::tools
