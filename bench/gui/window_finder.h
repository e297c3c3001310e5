// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtQuick/QQuickWindow>
#include <functional>
#include <utility>

namespace tfs::bench {

/// Looks out for the first Quick window among the receivers of the application's events, tells of it once and looks no
/// further. For a library that is preloaded into a program of which it knows nothing. Lives on the GUI thread, as the
/// application's child.
class WindowFinder : public QObject {
public:
    explicit WindowFinder(std::function<void(QQuickWindow&)> found)
        : QObject(QCoreApplication::instance()), m_found(std::move(found)) {
        parent()->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent*) override {
        if (auto* const window = qobject_cast<QQuickWindow*>(watched)) {
            parent()->removeEventFilter(this);
            m_found(*window);
        }
        return false;
    }

private:
    std::function<void(QQuickWindow&)> m_found;
};

} // namespace tfs::bench
