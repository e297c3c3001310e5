// SPDX-License-Identifier: GPL-2.0-or-later
// The texts of the pictures, by their names in the product's table of texts.
#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace tfs::tests {

/// The product's own texts for "en" and "ru". For what it isn't translated to yet, texts of the lengths and the scripts
/// of those languages: "de", "fr", "ja", "zh"; and "long", English half as long again.
class GalleryTexts : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString language MEMBER m_language CONSTANT)

public:
    /// `sources` is the top folder of the sources.
    GalleryTexts(const QString& sources, const QString& language);

    static QStringList Languages();
    /// False where there are no texts in this language; `text` then has none to give.
    bool IsKnown() const { return !m_texts.isEmpty(); }

    /// Of a text that depends on a number, the form of many. The places for values are filled in their order.
    Q_INVOKABLE QString text(const QString& name, const QStringList& values = {}) const;

private:
    QString m_language;
    QJsonObject m_texts;
};

} // namespace tfs::tests
