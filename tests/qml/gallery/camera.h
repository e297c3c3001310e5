// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtCore/QDir>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

namespace tfs::tests {

/// Takes the pictures of the gallery and notes what is wrong with what it sees. One at a time; GUI thread.
class Camera : public QObject {
    Q_OBJECT

public:
    explicit Camera(const QString& folder);
    ~Camera() override;

    /// Whether nothing was found to be wrong until now.
    bool IsContent() const { return m_faults == 0; }

    /// False where the picture can't be written, which is a fault.
    Q_INVOKABLE bool shoot(QQuickWindow* window, const QString& name);
    /// Looks at the texts of all windows that show; see TextFaults.
    Q_INVOKABLE void inspect(const QString& scene, const QStringList& mayBeCut);
    Q_INVOKABLE void complain(const QString& fault);

    // What the mouse does to an item, without a mouse: many items can look hovered or pressed at once.
    Q_INVOKABLE void hover(QQuickItem* item);
    Q_INVOKABLE void leave(QQuickItem* item);
    Q_INVOKABLE void press(QQuickItem* item);

private:
    QDir m_folder;
    int m_faults = 0;
};

} // namespace tfs::tests
