// SPDX-License-Identifier: GPL-2.0-or-later
// Tells when a tray icon may first be made.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace tfs::tools {

/// Qt asks for a tray once, at the first use of a tray class, and keeps the answer for the process's life: an icon made
/// before the desktop's tray has come up never appears. The shell therefore makes its icon only once this object says
/// that a StatusNotifier host is registered or an XEmbed tray owns its selection. Lives on the GUI thread; watches the
/// session bus without blocking and looks for the selection from a slow timer until one of the two is there.
class TrayAvailability : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool available READ isAvailable NOTIFY availableChanged)

public:
    explicit TrayAvailability(QObject* parent = nullptr);
    ~TrayAvailability() override;

    /// Goes from false to true once, and stays.
    bool isAvailable() const { return m_available; }
    Q_SIGNAL void availableChanged(bool available);

    /// Begins to look out. Connecting to the session bus and to the display once more takes its time, so that the shell
    /// calls this behind its first frame. A second call does nothing.
    Q_INVOKABLE void watch();

    /// Makes a SystemTrayIcon visible. In a tray of X11 Qt shows an icon just before it hands on its picture and warns
    /// of its own doing; the warning is left out. A null object is ignored.
    Q_INVOKABLE static void showQuietly(QObject* trayIcon);

private:
    void WatchStatusNotifierHost();
    void AskForStatusNotifierHost();
    void LookForXEmbedTray();
    void SetAvailable();
    /// StatusNotifierHostRegistered of the watcher on the session bus.
    Q_SLOT void onHostRegistered();

    bool m_watching = false;
    bool m_available = false;
    QTimer m_timer;
};

} // namespace tfs::tools
