// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/qml/gallery/camera.h>
#include <tests/qml/gallery/text_faults.h>

#include <QtCore/QCoreApplication>
#include <QtGui/QHoverEvent>
#include <QtGui/QImage>
#include <QtGui/QMouseEvent>
#include <cstdio>
#include <cstdlib>

namespace tfs::tests {
namespace {

Camera* camera = nullptr;

/// Pages and scripts warn without a fault being told otherwise: a scene with a warning isn't as it was meant.
void HearMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    const bool isOurs = message.contains(QLatin1String("qrc:/")) || message.contains(QLatin1String(".qml:")) ||
                        message.startsWith(QLatin1String("no text "));
    if (type != QtDebugMsg && type != QtInfoMsg && isOurs && camera != nullptr)
        camera->complain(message);
    else
        (void)std::fprintf(stderr, "%s\n", qPrintable(message));
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

Camera::Camera(const QString& folder) : m_folder(folder) {
    camera = this;
    qInstallMessageHandler(&HearMessage);
}

Camera::~Camera() {
    qInstallMessageHandler(nullptr);
    camera = nullptr;
}

bool Camera::shoot(QQuickWindow* window, const QString& name) {
    const QString path = m_folder.filePath(name + QStringLiteral(".png"));
    const bool isSaved = window->grabWindow().save(path);
    if (!isSaved)
        complain(QStringLiteral("can't write ") + path);
    return isSaved;
}

void Camera::inspect(const QString& scene, const QStringList& mayBeCut) {
    for (const QString& fault : TextFaults(mayBeCut))
        complain(scene + QStringLiteral(": ") + fault);
}

void Camera::complain(const QString& fault) {
    ++m_faults;
    (void)std::fprintf(stderr, "FAULT %s\n", qPrintable(fault));
}

void Camera::hover(QQuickItem* item) {
    const QPointF centre = item->boundingRect().center();
    QHoverEvent event(QEvent::HoverEnter, centre, QPointF());
    QCoreApplication::sendEvent(item, &event);
}

void Camera::leave(QQuickItem* item) {
    QHoverEvent event(QEvent::HoverLeave, QPointF(), item->boundingRect().center());
    QCoreApplication::sendEvent(item, &event);
}

void Camera::press(QQuickItem* item) {
    const QPointF centre = item->boundingRect().center();
    QMouseEvent event(QEvent::MouseButtonPress, centre, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(item, &event);
}

} // namespace tfs::tests
