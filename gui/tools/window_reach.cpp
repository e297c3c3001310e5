// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/tools/window_reach.h>

#include <QtCore/QVariant>
#include <QtCore/QtMath>
#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>
#include <QtQuick/QQuickItem>
#include <algorithm>
#include <limits>

namespace tfs::tools {
namespace {

/// For how long a window or its screens must have kept still: a drag isn't fought with.
constexpr int RestMs = 300;
/// How much of the header's length is enough to take hold of it, beside the buttons at its end.
constexpr int GraspableWidth = 160;

QPoint PlaceOn(const QRect& screen, const QRect& window, int headerHeight) {
    const int reach = std::min({GraspableWidth, window.width(), screen.width()});
    const int lowest = std::max(screen.top(), screen.bottom() + 1 - headerHeight);
    return {std::clamp(window.x(), screen.left() + reach - window.width(), screen.right() + 1 - reach),
            std::clamp(window.y(), screen.top(), lowest)};
}

QVector<QRect> AvailableScreens() {
    QVector<QRect> screens;
    for (const QScreen* const screen : QGuiApplication::screens())
        screens.append(screen->availableGeometry());
    return screens;
}

} // namespace

QPoint ReachablePlace(const QRect& window, int headerHeight, const QVector<QRect>& screens) {
    QPoint nearest = window.topLeft();
    int leastWay = std::numeric_limits<int>::max();
    for (const QRect& screen : screens) {
        const QPoint place = PlaceOn(screen, window, headerHeight);
        const int way = (place - window.topLeft()).manhattanLength();
        if (way < leastWay) {
            leastWay = way;
            nearest = place;
        }
    }
    return nearest;
}

WindowReach::WindowReach(QWindow& window, int headerHeight, QObject* parent)
    : QObject(parent), m_window(window), m_headerHeight(headerHeight) {
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return;
    m_rest.setSingleShot(true);
    m_rest.setInterval(RestMs);
    connect(&m_rest, &QTimer::timeout, this, &WindowReach::BringBack);
    const auto wait = QOverload<>::of(&QTimer::start);
    connect(&window, &QWindow::xChanged, &m_rest, wait);
    connect(&window, &QWindow::yChanged, &m_rest, wait);
    connect(&window, &QWindow::visibleChanged, &m_rest, wait);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &WindowReach::Follow);
    connect(qGuiApp, &QGuiApplication::screenRemoved, &m_rest, wait);
    for (QScreen* const screen : QGuiApplication::screens())
        Follow(screen);
}

WindowReach::~WindowReach() = default;

void WindowReach::Follow(QScreen* screen) {
    connect(screen, &QScreen::availableGeometryChanged, &m_rest, QOverload<>::of(&QTimer::start));
    m_rest.start();
}

void WindowReach::BringBack() {
    if (!m_window.isVisible() || m_window.visibility() == QWindow::Minimized)
        return;
    const QPoint place = ReachablePlace(m_window.geometry(), m_headerHeight, AvailableScreens());
    if (place != m_window.position())
        m_window.setPosition(place);
}

WindowsReach::WindowsReach(QWindow* first) {
    Watch(first);
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &WindowsReach::Watch);
}

WindowsReach::~WindowsReach() = default;

void WindowsReach::Watch(QWindow* window) {
    if (window == nullptr || window->findChild<WindowReach*>(QString(), Qt::FindDirectChildrenOnly) != nullptr)
        return;
    const auto* const header = window->property("header").value<QQuickItem*>();
    if (header != nullptr)
        new WindowReach(*window, qCeil(header->height()), window); // goes with its window
}

} // namespace tfs::tools
