// SPDX-License-Identifier: GPL-2.0-or-later
// A list model whose rows a test writes.
#pragma once

#include <QtCore/QAbstractListModel>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace tfs::tests {

/// Rows are maps from role name to value; roles left out have the quiet value of `defaults`. Keeps what was called.
class StandinRows : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QStringList calls MEMBER m_calls NOTIFY callsChanged)

public:
    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void setRows(const QVariantList& rows);
    /// Changes some roles of one row and announces the change without naming roles.
    Q_INVOKABLE void changeRow(int row, const QVariantMap& values);
    Q_INVOKABLE void addRow(int row, const QVariantMap& values);
    Q_INVOKABLE void dropRow(int row);

    Q_SIGNAL void callsChanged();

protected:
    explicit StandinRows(const QVariantMap& defaults) : m_defaults(defaults) {}
    void Note(const QString& call);

private:
    const QVariantMap m_defaults;
    QList<QVariantMap> m_rows;
    QStringList m_calls;
};

} // namespace tfs::tests
