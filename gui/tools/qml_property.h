// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtCore/QObject>

namespace tfs::tools {

/// A plain object for QML to hang a dynamic property on; it has none of its own.
class QmlProperty : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
};

} // namespace tfs::tools
