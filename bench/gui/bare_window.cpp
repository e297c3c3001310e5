// SPDX-License-Identifier: GPL-2.0-or-later
// An empty window, set up as the front end sets up its own.
#include <QtCore/QUrl>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuickControls2/QQuickStyle>
#include <QtWidgets/QApplication>

int main(int argc, char** argv) {
    QGuiApplication::setDesktopSettingsAware(false);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QQuickStyle::setStyle(QStringLiteral("Default"));
    const QApplication application(argc, argv);
    const QQmlApplicationEngine engine(QUrl(QStringLiteral("qrc:/bare.qml")));
    return QApplication::exec();
}
