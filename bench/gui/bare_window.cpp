// SPDX-License-Identifier: GPL-2.0-or-later
// An empty window, set up as the front end sets up its own; with the path of a font, one word stands in it.
#include <QtCore/QUrl>
#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlContext>
#include <QtQuickControls2/QQuickStyle>
#include <QtWidgets/QApplication>

int main(int argc, char** argv) {
    QGuiApplication::setDesktopSettingsAware(false);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QQuickStyle::setStyle(QStringLiteral("Default"));
    const QApplication application(argc, argv);
    QQmlApplicationEngine engine;
    if (argc > 1)
        engine.rootContext()->setContextProperty(QStringLiteral("fontFile"),
                                                 QUrl::fromLocalFile(QString::fromLocal8Bit(argv[1])));
    engine.load(QUrl(argc > 1 ? QStringLiteral("qrc:/text.qml") : QStringLiteral("qrc:/bare.qml")));
    return QApplication::exec();
}
