// SPDX-License-Identifier: GPL-2.0-or-later
// Shows the program's window over stand-in models in one scene after the other, or the controls in each of their
// states, and saves a picture of each, for those who judge how it looks. Ends with an exit code of 1 where a page
// warned or a text can't be read whole. It wants a display.
#include <tests/qml/gallery/camera.h>
#include <tests/qml/gallery/gallery_texts.h>
#include <tests/qml/standin_models.h>

#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlContext>
#include <QtWidgets/QApplication>

namespace {

int Usage(const char* program) {
    qWarning("usage: %s FOLDER kit|%s", program, qPrintable(tfs::tests::GalleryTexts::Languages().join('|')));
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    // Nothing to wait for: what moves is over with the next frame.
    qputenv("TESL_REDUCED_MOTION", "1");
    QApplication application(argc, argv);
    if (argc != 3)
        return Usage(argv[0]);
    const bool isKit = QByteArray(argv[2]) == "kit";
    tfs::tests::GalleryTexts texts(QStringLiteral(TESL_SOURCES), isKit ? "en" : QString::fromLocal8Bit(argv[2]));
    if (!texts.IsKnown() || !QDir().mkpath(QString::fromLocal8Bit(argv[1])))
        return Usage(argv[0]);
    QCoreApplication::setApplicationName("Tolvander Endpoint Security");
    tfs::tests::RegisterStandins();
    tfs::tests::Connection connection;
    tfs::tests::TrayAvailability tray;
    tfs::tests::MousePosition mouse;
    tfs::tests::Models models;
    tfs::tests::Camera camera(QString::fromLocal8Bit(argv[1]));

    QQmlApplicationEngine engine;
    QQmlContext* context = engine.rootContext();
    context->setContextProperty("serviceConnection", &connection);
    context->setContextProperty("trayAvailability", &tray);
    context->setContextProperty("mousePosition", &mouse);
    context->setContextProperty("models", &models);
    context->setContextProperty("camera", &camera);
    context->setContextProperty("texts", &texts);
    context->setContextProperty("isTrayOnly", false);
    context->setContextProperty("onlineHelpLink", QString());
    context->setContextProperty("language", texts.property("language"));
    context->setContextProperty("iconButtonExit", "Exit");
    const QString scenes = QStringLiteral(TESL_SOURCES "/tests/qml/gallery/");
    if (!isKit)
        engine.load(QUrl("qrc:/main.qml"));
    engine.load(QUrl::fromLocalFile(scenes + (isKit ? "KitScenes.qml" : "PageScenes.qml")));
    if (engine.rootObjects().size() != (isKit ? 1 : 2))
        return 1;
    const int code = QApplication::exec();
    return camera.IsContent() ? code : 1;
}
