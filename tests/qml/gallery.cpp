// SPDX-License-Identifier: GPL-2.0-or-later
// Shows the program's window over stand-in models in one scene after the other, or the controls in each of their
// states, and saves a picture of each, for those who judge how it looks. Usage: tesl-qml-gallery FOLDER [kit]; it wants
// a display.
#include <tests/qml/standin_models.h>

#include <QtCore/QDir>
#include <QtGui/QHoverEvent>
#include <QtGui/QMouseEvent>
#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlContext>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtWidgets/QApplication>

namespace {

class Camera : public QObject {
    Q_OBJECT
public:
    explicit Camera(const QString& folder) : m_folder(folder) {}
    Q_INVOKABLE bool shoot(QQuickWindow* window, const QString& name) {
        return window->grabWindow().save(m_folder.filePath(name + ".png"));
    }
    // What the mouse does to an item, without a mouse: many items can look hovered or pressed at once.
    Q_INVOKABLE void hover(QQuickItem* item) {
        const QPointF centre = item->boundingRect().center();
        QHoverEvent event(QEvent::HoverEnter, centre, QPointF());
        QCoreApplication::sendEvent(item, &event);
    }
    Q_INVOKABLE void press(QQuickItem* item) {
        const QPointF centre = item->boundingRect().center();
        QMouseEvent event(QEvent::MouseButtonPress, centre, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(item, &event);
    }

private:
    QDir m_folder;
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const bool kitOnly = argc == 3 && QByteArray(argv[2]) == "kit";
    if (argc != 2 && !kitOnly) {
        qWarning("usage: %s FOLDER [kit]", argv[0]);
        return 2;
    }
    QCoreApplication::setApplicationName("Tolvander Endpoint Security");
    tfs::tests::RegisterStandins();
    tfs::tests::Connection connection;
    tfs::tests::TrayAvailability tray;
    tfs::tests::MousePosition mouse;
    tfs::tests::Models models;
    Camera camera(QString::fromLocal8Bit(argv[1]));

    QQmlApplicationEngine engine;
    QQmlContext* context = engine.rootContext();
    context->setContextProperty("serviceConnection", &connection);
    context->setContextProperty("trayAvailability", &tray);
    context->setContextProperty("mousePosition", &mouse);
    context->setContextProperty("models", &models);
    context->setContextProperty("camera", &camera);
    context->setContextProperty("isTrayOnly", false);
    context->setContextProperty("onlineHelpLink", QString());
    context->setContextProperty("language", "en");
    context->setContextProperty("iconButtonExit", "Exit");
    const QDir sources(QStringLiteral(QUICK_TEST_SOURCE_DIR));
    if (!kitOnly)
        engine.load(QUrl("qrc:/main.qml"));
    engine.load(QUrl::fromLocalFile(sources.filePath(kitOnly ? "KitScenes.qml" : "Gallery.qml")));
    return engine.rootObjects().size() == (kitOnly ? 1 : 2) ? application.exec() : 1;
}

#include "gallery.moc"
