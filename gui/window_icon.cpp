// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/window_icon.h>

#include <QtGui/QPainter>
#include <QtGui/QPixmap>
#include <QtSvg/QSvgRenderer>

namespace tfs::gui {
namespace {

/// Pixels a side.
constexpr int IconSizes[] = {16, 32, 48};

} // namespace

QIcon ReadIcon(const QString& path) {
    QIcon icon;
    QSvgRenderer renderer(path);
    if (!renderer.isValid())
        return icon;
    for (const int size : IconSizes) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace tfs::gui
