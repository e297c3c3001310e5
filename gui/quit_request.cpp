// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/sync.h>
#include <gui/quit_request.h>

#include <QtCore/QCoreApplication>

namespace tfs::gui {
namespace {

/// Held also while an event is posted, so that the application isn't destroyed meanwhile.
ulk::Mutex mutex;
QCoreApplication* target ULK_GUARDED_BY(mutex) = nullptr;
bool isRequested ULK_GUARDED_BY(mutex) = false;

/// Posted, not called: quitting a loop that has yet to begin has no effect, an event waits for it.
void Post() ULK_REQUIRES(mutex) {
    if (target != nullptr)
        QMetaObject::invokeMethod(target, &QCoreApplication::quit, Qt::QueuedConnection);
}

} // namespace

void RequestQuit() {
    const ulk::LockGuard lock(mutex);
    isRequested = true;
    Post();
}

void RenewQuitRequest() {
    const ulk::LockGuard lock(mutex);
    if (isRequested)
        Post();
}

QuitTarget::QuitTarget() {
    const ulk::LockGuard lock(mutex);
    target = QCoreApplication::instance();
}

QuitTarget::~QuitTarget() {
    const ulk::LockGuard lock(mutex);
    target = nullptr;
}

} // namespace tfs::gui
