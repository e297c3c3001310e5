// SPDX-License-Identifier: GPL-2.0-or-later
// An empty window, set up as the front end sets up its own. With the path of a font, one word stands in it; with that,
// the path of a picture and a list of items, so many of them, each of its kind and size, repainted by a timer. A line
// of the list is a kind, a place and a size.
#include <QtCore/QRectF>
#include <QtCore/QUrl>
#include <QtQml/QQmlApplicationEngine>
#include <QtQml/QQmlContext>
#include <QtQuickControls2/QQuickStyle>
#include <QtWidgets/QApplication>
#include <fstream>
#include <string>

namespace {

constexpr int FontArgument = 1;
constexpr int PictureArgument = 2;
constexpr int ListArgument = 3;

QUrl FileUrl(const char* path) { return QUrl::fromLocalFile(QString::fromLocal8Bit(path)); }

/// The items by their kind.
QVariantMap ReadItems(const char* path) {
    QVariantMap items;
    std::ifstream list(path);
    std::string kind;
    std::string colour;
    qreal radius = 0;
    int border = 0;
    for (qreal x = 0, y = 0, width = 0, height = 0;
         list >> kind >> x >> y >> width >> height >> radius >> border >> colour;) {
        const QString name = QString::fromStdString(kind);
        QVariantList known = items.value(name).toList();
        known.append(QVariantMap{{"area", QRectF(x, y, width, height)},
                                 {"radius", radius},
                                 {"border", border},
                                 {"colour", QString::fromStdString(colour)}});
        items.insert(name, known);
    }
    return items;
}

/// The file to show, with what it asks for made known to the engine.
QUrl Choose(int argc, char** argv, QQmlContext& context) {
    if (argc <= FontArgument)
        return QUrl(QStringLiteral("qrc:/bare.qml"));
    context.setContextProperty(QStringLiteral("fontFile"), FileUrl(argv[FontArgument]));
    if (argc <= ListArgument)
        return QUrl(QStringLiteral("qrc:/text.qml"));
    context.setContextProperty(QStringLiteral("pictureFile"), FileUrl(argv[PictureArgument]));
    context.setContextProperty(QStringLiteral("itemList"), ReadItems(argv[ListArgument]));
    return QUrl(QStringLiteral("qrc:/items.qml"));
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication::setDesktopSettingsAware(false);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QQuickStyle::setStyle(QStringLiteral("Default"));
    const QApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.load(Choose(argc, argv, *engine.rootContext()));
    return QApplication::exec();
}
