// SPDX-License-Identifier: GPL-2.0-or-later
// Keeps a window that its header alone can move within the user's reach.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtGui/QWindow>

namespace tfs::tools {

/// The place nearest to where `window` stands, in device-independent pixels, at which a good piece of the strip along
/// its top of `headerHeight` lies wholly on one of `screens`. Where it stands already if that is so, or without
/// screens.
QPoint ReachablePlace(const QRect& window, int headerHeight, const QVector<QRect>& screens);

/// Brings a window back whose header was dragged out of sight or lost its screen, once it has come to rest. Does
/// nothing on a platform that doesn't tell windows where they stand. Lives on the GUI thread; the window must outlive
/// it.
class WindowReach : public QObject {
    Q_OBJECT

public:
    /// `headerHeight` in device-independent pixels.
    WindowReach(QWindow& window, int headerHeight, QObject* parent = nullptr);
    ~WindowReach() override;

private:
    void Follow(QScreen* screen);
    void BringBack();

    QWindow& m_window;
    const int m_headerHeight;
    QTimer m_rest;
};

/// Keeps every window within reach that is moved by a header of its own, which it names as its property "header": the
/// given one from now on, and dialogs from when they first have the keyboard. Lives on the GUI thread.
class WindowsReach : public QObject {
    Q_OBJECT

public:
    /// Null is no window.
    explicit WindowsReach(QWindow* first);
    ~WindowsReach() override;

private:
    void Watch(QWindow* window);
};

} // namespace tfs::tools
