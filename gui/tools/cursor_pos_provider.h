// SPDX-License-Identifier: GPL-2.0-or-later
// The pointer's place on the screen, for dragging the frameless window.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QPoint>

namespace tfs::tools {

class CursorPosProvider : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

public Q_SLOTS:
    QPoint cursorPos();
};

} // namespace tfs::tools
