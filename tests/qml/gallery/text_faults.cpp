// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/qml/gallery/text_faults.h>

#include <QtCore/QRectF>
#include <QtCore/QVariant>
#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <vector>

namespace tfs::tests {
namespace {

/// Letters lean out of their boxes by as much.
constexpr qreal Tolerance = 1.5;

struct Shown {
    const QQuickItem* item;
    QRectF area; ///< in the window
};

QString Describe(const QQuickItem& item) {
    const QString text = item.property("text").toString();
    return item.objectName().isEmpty() ? QStringLiteral("\"%1\"").arg(text)
                                       : QStringLiteral("%1 \"%2\"").arg(item.objectName(), text);
}

void CollectTexts(const QQuickItem& item, std::vector<Shown>& texts) {
    if (!item.isVisible() || item.opacity() <= 0)
        return;
    if (item.inherits("QQuickText") && !item.property("text").toString().isEmpty())
        texts.push_back({&item, item.mapRectToScene(item.boundingRect())});
    for (const QQuickItem* const child : item.childItems())
        CollectTexts(*child, texts);
}

bool Holds(const QRectF& outer, const QRectF& inner, bool sidesOnly) {
    const bool sides = inner.left() >= outer.left() - Tolerance && inner.right() <= outer.right() + Tolerance;
    return sides &&
           (sidesOnly || (inner.top() >= outer.top() - Tolerance && inner.bottom() <= outer.bottom() + Tolerance));
}

/// What lies over the page, a tooltip or a list, covers what is below.
bool IsOverlaid(const Shown& text) {
    for (const QQuickItem* item = text.item; item != nullptr; item = item->parentItem())
        if (item->inherits("QQuickOverlay"))
            return true;
    return false;
}

/// True where it is out of sight: scrolled away.
bool IsScrolledAway(const Shown& text) {
    for (const QQuickItem* item = text.item->parentItem(); item != nullptr; item = item->parentItem())
        if (item->inherits("QQuickFlickable") && !item->mapRectToScene(item->boundingRect()).intersects(text.area))
            return true;
    return false;
}

/// What it reaches out of, or null. A list may be scrolled so that a text stands at its edge.
const QQuickItem* FindTooSmall(const Shown& text) {
    bool isScrolled = false;
    for (const QQuickItem* item = text.item->parentItem(); item != nullptr; item = item->parentItem()) {
        isScrolled = isScrolled || item->inherits("QQuickFlickable");
        const bool isLimit = item->clip() || item->inherits("QQuickRectangle") || item->parentItem() == nullptr;
        if (isLimit && !Holds(item->mapRectToScene(item->boundingRect()), text.area, isScrolled))
            return item;
    }
    return nullptr;
}

void FindFaults(const QQuickWindow& window, const QStringList& mayBeCut, QStringList& faults) {
    std::vector<Shown> texts;
    CollectTexts(*window.contentItem(), texts);
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        if (IsScrolledAway(*text))
            continue;
        const QQuickItem& item = *text->item;
        if (item.property("truncated").toBool() && !mayBeCut.contains(item.objectName()))
            faults.append(QStringLiteral("cut: ") + Describe(item));
        if (item.property("contentWidth").toReal() > item.width() + Tolerance)
            faults.append(QStringLiteral("wider than its %1: ").arg(item.width()) + Describe(item));
        if (const QQuickItem* const outer = FindTooSmall(*text))
            faults.append(QStringLiteral("reaches out of %1 %2: ")
                              .arg(QLatin1String(outer->metaObject()->className()), outer->objectName()) +
                          Describe(item));
        for (auto other = std::next(text); other != texts.end(); ++other) {
            const QRectF common = text->area & other->area;
            if (common.width() > Tolerance && common.height() > Tolerance && !IsScrolledAway(*other) &&
                IsOverlaid(*text) == IsOverlaid(*other))
                faults.append(QStringLiteral("lies on each other: %1, %2").arg(Describe(item), Describe(*other->item)));
        }
    }
}

} // namespace

QStringList TextFaults(const QStringList& mayBeCut) {
    QStringList faults;
    for (const QWindow* const window : QGuiApplication::topLevelWindows()) {
        const auto* const quick = qobject_cast<const QQuickWindow*>(window);
        if (quick != nullptr && quick->isVisible())
            FindFaults(*quick, mayBeCut, faults);
    }
    return faults;
}

} // namespace tfs::tests
