// SPDX-License-Identifier: GPL-2.0-or-later
// Screenshots of a window, for support.
#pragma once

#include <QtCore/QObject>
#include <QtQuick/QQuickWindow>

namespace tfs::tools {

class ScreenSaver : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

public Q_SLOTS:
    /// Saves "screen-<date and time>.png" into the folder for temporary files. A null window and a failure to save
    /// are ignored; two pictures within a second overwrite each other.
    void TakeScreenshot(QQuickWindow* quickWindow);
};

} // namespace tfs::tools
