// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/qml/gallery/gallery_texts.h>

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>
#include <QtCore/QtDebug>

namespace tfs::tests {
namespace {

constexpr char Long[] = "long";

QJsonObject ReadObject(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

/// Half as long again, and the new half in words that can be broken where those before could. Markup stays what it is.
QString Stretched(const QString& text) {
    const int begin = text.indexOf(QLatin1Char('>')) + 1;
    const int end = begin > 0 ? text.indexOf(QLatin1Char('<'), begin) : text.size();
    QString more = text.mid(begin, (end - begin + 1) / 2);
    more.remove(QRegularExpression(QStringLiteral("%([1-9][$])?[ds]")));
    const bool isSentence = more.contains(QLatin1Char(' '));
    more = (isSentence ? QStringLiteral(" ") : QString()) + more.trimmed().toLower();
    QString stretched = text;
    const int at = text.at(end - 1).isLetter() ? end : end - 1;
    return stretched.insert(at, more);
}

} // namespace

GalleryTexts::GalleryTexts(const QString& sources, const QString& language) : m_language(language) {
    const QString catalogue = sources + QStringLiteral("/resources/loc/%1.loc");
    if (language == QLatin1String(Long))
        m_texts = ReadObject(catalogue.arg(QStringLiteral("en")));
    else if (QFile::exists(catalogue.arg(language)))
        m_texts = ReadObject(catalogue.arg(language));
    else
        m_texts =
            ReadObject(sources + QStringLiteral("/tests/qml/gallery/other_languages.json")).value(language).toObject();
}

QStringList GalleryTexts::Languages() {
    return {QStringLiteral("en"), QStringLiteral("ru"), QStringLiteral("de"), QStringLiteral("fr"),
            QStringLiteral("ja"), QStringLiteral("zh"), QLatin1String(Long)};
}

QString GalleryTexts::text(const QString& name, const QStringList& values) const {
    const QJsonValue value = m_texts.value(name);
    QString text = value.isArray() ? value.toArray().last().toString() : value.toString();
    if (text.isEmpty()) {
        qWarning("no text %s in %s", qPrintable(name), qPrintable(m_language));
        return text;
    }
    if (m_language == QLatin1String(Long))
        text = Stretched(text);
    for (int i = 0; i < values.size(); ++i) {
        const QRegularExpression place(QStringLiteral("%(%1[$])?[ds]").arg(i + 1));
        const QRegularExpressionMatch match = place.match(text);
        text.replace(match.capturedStart(), match.capturedLength(), values.at(i));
    }
    return text;
}

} // namespace tfs::tests
